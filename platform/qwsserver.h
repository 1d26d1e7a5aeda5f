// What the program asks of the board's display server: input method, background and pointer.
#pragma once

class QBrush;
class QWSInputMethod;

class QWSServer
{
public:
    /** Makes an input method the active one. @param method null leaves everything as it is */
    static void setCurrentInputMethod(QWSInputMethod *method);

    /**
     * Fills the panel wherever no window is, at once and until the program ends. Does nothing where
     * another program is the display server (a desktop): the background is not ours there.
     * The filling takes no input and no focus and does not keep the program alive.
     */
    static void setBackground(const QBrush &brush);

    /** Shows or hides the mouse pointer, everywhere in the program. */
    static void setCursorVisible(bool visible);
};
