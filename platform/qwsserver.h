// Replaces the board's display server: input method, background and pointer.
#pragma once

class QBrush;
class QWSInputMethod;

class QWSServer
{
public:
    /** Activate an input method. @param method null to change nothing */
    static void setCurrentInputMethod(QWSInputMethod *method);

    /**
     * Fill the background of the panel, immediately and until a window covers it. No effect under a
     * display server of another program (a desktop), which has its own background. The background
     * window receives no input and no focus and does not keep the program running.
     */
    static void setBackground(const QBrush &brush);

    /** Show or hide the mouse pointer, anywhere in the program. */
    static void setCursorVisible(bool visible);
};
