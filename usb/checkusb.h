// Detects the supported dongle on the USB bus.
#pragma once

class CheckUSB
{
public:
    /**
     * Enumerate the USB bus without opening a device.
     * @return 1 when a device with vendor ID 0x12D1 and product ID 0x1001 is attached, 0 when none
     *         is, or a negative libusb error code; callers treat every non-zero value as "attached"
     */
    [[nodiscard]] static int checkUSB();
};
