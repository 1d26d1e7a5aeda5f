#include "usb/checkusb.h"

#include "core/dongleid.h"

#include <libusb.h>

namespace
{

/** RAII owner of the default libusb context. */
class DefaultContext
{
public:
    DefaultContext() : initResult(libusb_init(nullptr)) {}
    DefaultContext(const DefaultContext &) = delete;
    DefaultContext &operator=(const DefaultContext &) = delete;
    ~DefaultContext()
    {
        if (initResult >= 0)
            libusb_exit(nullptr);
    }

    /** @return 0, or a negative libusb error code */
    int result() const { return initResult; }

private:
    int initResult;
};

/** RAII owner of the list of attached devices. */
class DeviceList
{
public:
    DeviceList() : deviceCount(libusb_get_device_list(nullptr, &devices)) {}
    DeviceList(const DeviceList &) = delete;
    DeviceList &operator=(const DeviceList &) = delete;
    ~DeviceList()
    {
        if (deviceCount >= 0)
            libusb_free_device_list(devices, 1);
    }

    /** @return number of devices, or a negative libusb error code */
    ssize_t count() const { return deviceCount; }

    libusb_device **begin() const { return devices; }
    libusb_device **end() const { return devices + deviceCount; }

private:
    libusb_device **devices = nullptr;
    ssize_t deviceCount;
};

bool isDongle(libusb_device *device)
{
    libusb_device_descriptor descriptor;
    return libusb_get_device_descriptor(device, &descriptor) == 0 &&
           descriptor.idVendor == DongleVendor && descriptor.idProduct == DongleProduct;
}

} // namespace

int CheckUSB::checkUSB()
{
    const DefaultContext context;
    if (context.result() < 0)
        return context.result();
    const DeviceList devices;
    if (devices.count() < 0)
        return static_cast<int>(devices.count());
    for (libusb_device *device : devices) {
        if (isDongle(device))
            return 1;
    }
    return 0;
}
