#include "checkusb.h"

#include <libusb.h>

namespace
{

constexpr uint16_t DongleVendor = 0x12D1;
constexpr uint16_t DongleProduct = 0x1001;

/** The default libusb context, for the life of the object. */
class DefaultContext
{
public:
    DefaultContext() : m_result(libusb_init(nullptr)) {}
    DefaultContext(const DefaultContext &) = delete;
    DefaultContext &operator=(const DefaultContext &) = delete;
    ~DefaultContext()
    {
        if (m_result >= 0)
            libusb_exit(nullptr);
    }

    /** @return 0, or a negative libusb error code */
    int result() const { return m_result; }

private:
    int m_result;
};

/** The devices now attached; holds a reference to each of them. */
class DeviceList
{
public:
    DeviceList() : m_count(libusb_get_device_list(nullptr, &m_devices)) {}
    DeviceList(const DeviceList &) = delete;
    DeviceList &operator=(const DeviceList &) = delete;
    ~DeviceList()
    {
        if (m_count >= 0)
            libusb_free_device_list(m_devices, 1);
    }

    /** @return how many devices there are, or a negative libusb error code */
    ssize_t count() const { return m_count; }

    libusb_device **begin() const { return m_devices; }
    libusb_device **end() const { return m_devices + m_count; }

private:
    libusb_device **m_devices = nullptr;
    ssize_t m_count;
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
