// Whether the supported dongle is on the USB bus.
#pragma once

class CheckUSB
{
public:
    /**
     * Enumerates the bus afresh, opening no device and keeping nothing.
     * @return 1 when a device with vendor 0x12D1 and product 0x1001 is attached, 0 when none is, or
     *         a negative libusb error code; callers take everything but 0 for a present dongle
     */
    static int checkUSB();
};
