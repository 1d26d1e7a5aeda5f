// touchd: makes the emulated pointer of the board a touch screen.
//
// It grabs the machine's absolute pointer, so that nobody sees a mouse, and makes a touch screen
// through uinput: a multitouch one with slots (type B of the kernel's multi-touch protocol), or a
// single-touch one that reports pressure, as resistive ones do. It ends, with a message, only when
// one of the two devices fails.
#include "io/filedescriptor.h"
#include "simulator/programs/common/commandline.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glob.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr char PointerName[] = "QEMU Virtio Tablet";
constexpr char ScreenName[] = "panel touchscreen";
constexpr int PointerMaximum = 32767; // of either axis, from 0
constexpr int TrackingIds = 65536;
constexpr int FullPressure = 255;
constexpr int MostPixels = 65536; // a product with PointerMaximum must fit an int

/** @return the grabbed pointer; a closed descriptor when there is none */
FileDescriptor grabPointer()
{
    glob_t nodes{};
    FileDescriptor found;
    if (::glob("/dev/input/event*", 0, nullptr, &nodes) == 0) {
        for (size_t i = 0; i < nodes.gl_pathc && !found.isOpen(); ++i) {
            FileDescriptor node(::open(nodes.gl_pathv[i], O_RDONLY | O_CLOEXEC));
            char name[128] = {};
            if (node.isOpen() && ::ioctl(node.get(), EVIOCGNAME(sizeof name - 1), name) != -1 &&
                std::strstr(name, PointerName) != nullptr)
                found = std::move(node);
        }
    }
    ::globfree(&nodes);
    if (found.isOpen() && ::ioctl(found.get(), EVIOCGRAB, 1) == -1)
        return FileDescriptor();
    return found;
}

/** The touch screen that the board's programs see; coordinates are pixels from 0. */
class TouchScreen
{
public:
    TouchScreen(int width, int height, bool slots)
        : m_device(::open("/dev/uinput", O_WRONLY | O_CLOEXEC)), m_slots(slots)
    {
        m_ok = m_device.isOpen() && create(width, height);
    }

    bool isOk() const { return m_ok; }

    void press(int x, int y)
    {
        if (m_slots) {
            emit(EV_ABS, ABS_MT_SLOT, 0);
            emit(EV_ABS, ABS_MT_TRACKING_ID, m_nextId);
            m_nextId = (m_nextId + 1) % TrackingIds;
        } else {
            emit(EV_ABS, ABS_PRESSURE, FullPressure);
        }
        emit(EV_KEY, BTN_TOUCH, 1);
        move(x, y);
    }

    void move(int x, int y)
    {
        if (m_slots) {
            emit(EV_ABS, ABS_MT_POSITION_X, x);
            emit(EV_ABS, ABS_MT_POSITION_Y, y);
        }
        emit(EV_ABS, ABS_X, x);
        emit(EV_ABS, ABS_Y, y);
        emit(EV_SYN, SYN_REPORT, 0);
    }

    void release()
    {
        if (m_slots)
            emit(EV_ABS, ABS_MT_TRACKING_ID, -1);
        else
            emit(EV_ABS, ABS_PRESSURE, 0);
        emit(EV_KEY, BTN_TOUCH, 0);
        emit(EV_SYN, SYN_REPORT, 0);
    }

private:
    bool set(unsigned long request, int value)
    {
        return ::ioctl(m_device.get(), request, value) != -1;
    }

    bool addAxis(__u16 code, int maximum)
    {
        uinput_abs_setup axis{};
        axis.code = code;
        axis.absinfo.maximum = maximum;
        return set(UI_SET_ABSBIT, code) && ::ioctl(m_device.get(), UI_ABS_SETUP, &axis) != -1;
    }

    bool addSlots(int width, int height)
    {
        return addAxis(ABS_MT_SLOT, 4) && addAxis(ABS_MT_TRACKING_ID, TrackingIds - 1) &&
               addAxis(ABS_MT_POSITION_X, width - 1) && addAxis(ABS_MT_POSITION_Y, height - 1);
    }

    bool create(int width, int height)
    {
        uinput_setup setup{};
        setup.id.bustype = BUS_I2C;
        std::strncpy(setup.name, ScreenName, sizeof setup.name - 1);
        return set(UI_SET_EVBIT, EV_KEY) && set(UI_SET_KEYBIT, BTN_TOUCH) &&
               set(UI_SET_EVBIT, EV_ABS) && set(UI_SET_PROPBIT, INPUT_PROP_DIRECT) &&
               addAxis(ABS_X, width - 1) && addAxis(ABS_Y, height - 1) &&
               (m_slots ? addSlots(width, height) : addAxis(ABS_PRESSURE, FullPressure)) &&
               ::ioctl(m_device.get(), UI_DEV_SETUP, &setup) != -1 &&
               ::ioctl(m_device.get(), UI_DEV_CREATE) != -1;
    }

    void emit(__u16 type, __u16 code, int value)
    {
        input_event event{};
        event.type = type;
        event.code = code;
        event.value = value;
        m_ok = m_ok &&
               ::write(m_device.get(), &event, sizeof event) == static_cast<ssize_t>(sizeof event);
    }

    FileDescriptor m_device;
    bool m_slots;
    bool m_ok = false;
    int m_nextId = 0;
};

/** Gathers the pointer's events up to each report and applies them to the screen as one. */
class Translator
{
public:
    Translator(TouchScreen &screen, int pointer, int width, int height)
        : m_screen(screen), m_width(width), m_height(height)
    {
        // The kernel reports an axis only when it changes: start from where the pointer is.
        input_absinfo axis{};
        if (::ioctl(pointer, EVIOCGABS(ABS_X), &axis) != -1)
            m_x = pixel(axis.value, width);
        if (::ioctl(pointer, EVIOCGABS(ABS_Y), &axis) != -1)
            m_y = pixel(axis.value, height);
    }

    void take(const input_event &event)
    {
        if (event.type == EV_ABS && event.code == ABS_X)
            m_x = pixel(event.value, m_width);
        else if (event.type == EV_ABS && event.code == ABS_Y)
            m_y = pixel(event.value, m_height);
        else if (event.type == EV_KEY && event.code == BTN_LEFT)
            m_wanted = event.value != 0;
        else if (event.type == EV_SYN && event.code == SYN_REPORT)
            apply();
    }

private:
    static int pixel(int position, int pixels)
    {
        return (position * (pixels - 1) + PointerMaximum / 2) / PointerMaximum;
    }

    void apply()
    {
        if (m_wanted && !m_down)
            m_screen.press(m_x, m_y);
        else if (m_wanted)
            m_screen.move(m_x, m_y);
        else if (m_down)
            m_screen.release();
        m_down = m_wanted;
    }

    TouchScreen &m_screen;
    int m_width;
    int m_height;
    int m_x = 0;
    int m_y = 0;
    bool m_wanted = false;
    bool m_down = false;
};

int fail(const char *what)
{
    std::fprintf(stderr, "touchd: %s: %s\n", what, std::strerror(errno));
    return 1;
}
/** Passes touches on until one of the devices fails. @return exit status of the program */
int serve(int width, int height, bool single)
{
    const FileDescriptor pointer = grabPointer();
    if (!pointer.isOpen())
        return fail(PointerName);
    TouchScreen screen(width, height, !single);
    if (!screen.isOk())
        return fail("/dev/uinput");
    Translator translator(screen, pointer.get(), width, height);
    while (screen.isOk()) {
        input_event event{};
        const ssize_t length = ::read(pointer.get(), &event, sizeof event);
        if (length == static_cast<ssize_t>(sizeof event))
            translator.take(event);
        else if (!(length == -1 && errno == EINTR))
            return fail(PointerName);
    }
    return fail(ScreenName);
}

} // namespace

int main(int argc, char **argv)
{
    int width = 0;
    int height = 0;
    bool single = false;
    const common::CommandLine line{
        "touchd",
        "Makes the emulated pointer of the board a touch screen of that many pixels.",
        {{"width", common::number<int>("WIDTH", 2, MostPixels, width), "in pixels"},
         {"height", common::number<int>("HEIGHT", 2, MostPixels, height), "in pixels"},
         {"kind", common::oneOf({{"multi", false}, {"single", true}}, single),
          "touches at a time (multi)"}},
        {},
        1};
    if (const auto status = common::readCommandLine(line, argc, argv))
        return *status;
    return serve(width, height, single);
}
