// Whether the supported dongle is on the USB bus.
#pragma once

class CheckUSB
{
public:
    /**
     * Enumerates the bus. Opens no device and keeps nothing.
     * @return 1 when a device with vendor 0x12D1 and product 0x1001 is attached, 0 when none is, a
     *         negative libusb error code on failure; callers take any value but 0 for a dongle
     */
    static int checkUSB();
};
