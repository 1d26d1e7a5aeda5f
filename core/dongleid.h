// USB IDs of the supported dongle. debian/corvanta.udev repeats them.
#pragma once

inline constexpr unsigned DongleVendor = 0x12d1;
inline constexpr unsigned DongleProduct = 0x1001;
