// Paths of the board's files and devices that several components use.
#pragma once

namespace boardpaths
{

// Parameters and the chip
inline constexpr char ParameterFile[] = "/quenfold/configs/3gparam";
inline constexpr char AutoConnectFile[] = "/quenfold/configs/autoparam";
inline constexpr char ChipMarkerFile[] = "/quenfold/configs/initedFram";
inline constexpr char ChipDevice[] = "/dev/spidev1.0";

// Single-instance lock
inline constexpr char InstanceLock[] = "/run/corvanta.lock";
// Lock for reading and writing the parameters
inline constexpr char ParameterLock[] = "/run/corvanta-parameters.lock";

// Process ID and start time of the pppd that has sent the PIN. Not in /run/corvanta, which systemd
// deletes when the panel stops.
inline constexpr char PinRecord[] = "/run/corvanta-pin";

// Dial-up
inline constexpr char ModemPort[] = "/dev/ttyUSB0";
inline constexpr char ChatScript[] = "/etc/ppp/chat/chat";
inline constexpr char PeerFile[] = "/etc/ppp/peers/ppp-connect";
inline constexpr char PppLog[] = "/etc/ppp/ppp.log";
inline constexpr char ChatLog[] = "/etc/ppp/chat.log";

} // namespace boardpaths
