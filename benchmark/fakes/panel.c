/* Answers ioctl() for a panel made of files: a framebuffer's file, and a FIFO for its touch screen.
 *
 * Preloaded into a program, it has Qt's linuxfb and its evdev reader take a plain file for /dev/fb0
 * and a FIFO of struct input_event for a multitouch screen (type B, positions in pixels).
 * CORVANTA_BENCH_PANEL gives the size, such as 800x480. All other requests go to the kernel. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <linux/fb.h>
#include <linux/input.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned width, height;

__attribute__((constructor)) static void readSize(void)
{
    const char *size = getenv("CORVANTA_BENCH_PANEL");
    if (size == NULL || sscanf(size, "%ux%u", &width, &height) != 2)
        abort();
}

static int answerVariable(struct fb_var_screeninfo *info)
{
    memset(info, 0, sizeof *info);
    info->xres = info->xres_virtual = width;
    info->yres = info->yres_virtual = height;
    info->bits_per_pixel = 32;
    info->red = (struct fb_bitfield){16, 8, 0};
    info->green = (struct fb_bitfield){8, 8, 0};
    info->blue = (struct fb_bitfield){0, 8, 0};
    return 0;
}

static int answerFixed(struct fb_fix_screeninfo *info)
{
    memset(info, 0, sizeof *info);
    info->line_length = width * 4;
    info->smem_len = info->line_length * height;
    info->visual = FB_VISUAL_TRUECOLOR;
    return 0;
}

static int answerTouch(unsigned long request, void *argument)
{
    static const int axes[] = {ABS_MT_SLOT, ABS_MT_POSITION_X, ABS_MT_POSITION_Y,
                               ABS_MT_TRACKING_ID};
    const int highest[] = {9, (int)width - 1, (int)height - 1, 65535};
    unsigned char *bits = argument;
    memset(argument, 0, _IOC_SIZE(request));
    for (int i = 0; i < 4; ++i) {
        if (_IOC_NR(request) == _IOC_NR(EVIOCGBIT(EV_ABS, 0)))
            bits[axes[i] / 8] |= 1 << axes[i] % 8;
        else if (_IOC_NR(request) == _IOC_NR(EVIOCGABS(axes[i])))
            ((struct input_absinfo *)argument)->maximum = highest[i];
    }
    return (int)_IOC_SIZE(request);
}

int ioctl(int fd, unsigned long request, ...)
{
    static int (*next)(int, unsigned long, void *);
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request == FBIOGET_VSCREENINFO)
        return answerVariable(argument);
    if (request == FBIOGET_FSCREENINFO)
        return answerFixed(argument);
    if (_IOC_TYPE(request) == 'E') /* what is not asked (the grab) is granted */
        return _IOC_DIR(request) == _IOC_READ ? answerTouch(request, argument) : 0;
    if (next == NULL)
        next = (int (*)(int, unsigned long, void *))dlsym(RTLD_NEXT, "ioctl");
    return next(fd, request, argument);
}
