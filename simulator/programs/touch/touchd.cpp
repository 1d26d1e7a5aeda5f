// touchd WIDTH HEIGHT [single]: turns the board's emulated pointer into a touch screen of that
// size.
//
// Grabs the machine's absolute pointer, so that no program sees a mouse, and creates a touch screen
// through uinput: by default a multi-touch one (type B of the kernel's multi-touch protocol), with
// "single" a single-touch one that reports pressure, like a resistive one. Coordinates are pixels
// from 0.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr int PointerMaximum = 32767;
constexpr int TrackingIds = 65536;
constexpr int FullPressure = 255;

void check(bool isFine, const char *what)
{
    if (isFine)
        return;
    std::perror(what);
    std::exit(1);
}

int grabPointer()
{
    for (int i = 0;; ++i) {
        const std::string node = "/dev/input/event" + std::to_string(i);
        const int device = ::open(node.c_str(), O_RDONLY | O_CLOEXEC);
        check(device != -1, "touchd: no pointer");
        char name[128] = {};
        ::ioctl(device, EVIOCGNAME(sizeof name - 1), name);
        if (std::strcmp(name, "QEMU Virtio Tablet") == 0) {
            check(::ioctl(device, EVIOCGRAB, 1) != -1, "touchd: pointer");
            return device;
        }
        ::close(device);
    }
}

void addAxis(int screen, __u16 code, int maximum)
{
    uinput_abs_setup axis{};
    axis.code = code;
    axis.absinfo.maximum = maximum;
    check(::ioctl(screen, UI_ABS_SETUP, &axis) != -1, "touchd: axis");
}

int createScreen(int width, int height, bool isSingle)
{
    const int screen = ::open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    ::ioctl(screen, UI_SET_EVBIT, EV_KEY);
    ::ioctl(screen, UI_SET_KEYBIT, BTN_TOUCH);
    ::ioctl(screen, UI_SET_EVBIT, EV_ABS);
    ::ioctl(screen, UI_SET_PROPBIT, INPUT_PROP_DIRECT);
    addAxis(screen, ABS_X, width - 1);
    addAxis(screen, ABS_Y, height - 1);
    if (isSingle) {
        addAxis(screen, ABS_PRESSURE, FullPressure);
    } else {
        addAxis(screen, ABS_MT_SLOT, 4);
        addAxis(screen, ABS_MT_TRACKING_ID, TrackingIds - 1);
        addAxis(screen, ABS_MT_POSITION_X, width - 1);
        addAxis(screen, ABS_MT_POSITION_Y, height - 1);
    }
    uinput_setup setup{};
    setup.id.bustype = BUS_I2C;
    std::strncpy(setup.name, "panel touchscreen", sizeof setup.name - 1);
    ::ioctl(screen, UI_DEV_SETUP, &setup);
    check(::ioctl(screen, UI_DEV_CREATE) != -1, "touchd: /dev/uinput");
    return screen;
}

void emit(int screen, __u16 type, __u16 code, int value)
{
    input_event event{};
    event.type = type;
    event.code = code;
    event.value = value;
    check(::write(screen, &event, sizeof event) != -1, "touchd: event");
}

int pixel(const input_absinfo &axis, int pixels)
{
    return (axis.value * (pixels - 1) + PointerMaximum / 2) / PointerMaximum;
}

/** Forwards the pointer's touches to the touch screen. */
void serve(int pointer, int screen, int width, int height, bool isSingle)
{
    input_absinfo x{}; // the kernel reports an axis only when it changes
    input_absinfo y{};
    ::ioctl(pointer, EVIOCGABS(ABS_X), &x);
    ::ioctl(pointer, EVIOCGABS(ABS_Y), &y);
    bool isDown = false;
    bool wasDown = false;
    for (int touch = 0;;) {
        input_event event{};
        check(::read(pointer, &event, sizeof event) > 0, "touchd: pointer");
        if (event.type == EV_ABS)
            (event.code == ABS_X ? x : y).value = event.value;
        else if (event.type == EV_KEY && event.code == BTN_LEFT)
            isDown = event.value != 0;
        if (event.type != EV_SYN)
            continue;
        if (isDown != wasDown) {
            touch = (touch + 1) % TrackingIds;
            if (isSingle)
                emit(screen, EV_ABS, ABS_PRESSURE, isDown ? FullPressure : 0);
            else
                emit(screen, EV_ABS, ABS_MT_TRACKING_ID, isDown ? touch : -1);
            emit(screen, EV_KEY, BTN_TOUCH, isDown);
        }
        if (isDown && !isSingle) {
            emit(screen, EV_ABS, ABS_MT_POSITION_X, pixel(x, width));
            emit(screen, EV_ABS, ABS_MT_POSITION_Y, pixel(y, height));
        }
        if (isDown) {
            emit(screen, EV_ABS, ABS_X, pixel(x, width));
            emit(screen, EV_ABS, ABS_Y, pixel(y, height));
        }
        emit(screen, EV_SYN, SYN_REPORT, 0);
        wasDown = isDown;
    }
}

} // namespace

int main(int argc, char **argv)
{
    const int width = std::atoi(argv[1]);
    const int height = std::atoi(argv[2]);
    const bool isSingle = argc > 3;
    const int pointer = grabPointer();
    serve(pointer, createScreen(width, height, isSingle), width, height, isSingle);
}
