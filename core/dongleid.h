// USB IDs of the supported dongle. packaging/70-corvanta.rules repeats them.
#pragma once

inline constexpr unsigned DongleVendor = 0x12d1;
inline constexpr unsigned DongleProduct = 0x1001;
