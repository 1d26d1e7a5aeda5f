// State of the on-screen keyboard: pressed key, shift state and page.
//
// A key is typed when its finger is lifted or the next finger touches down, so that typing with two
// thumbs neither loses nor repeats characters. A finger that slides off its key types nothing. This
// class depends on no window, clock or painting.
#pragma once

#include "platform/keyboard/keyboardlayout.h"

#include <chrono>
#include <optional>

class KeyboardState
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /** Key to deliver, if any: a character, Backspace, Enter or Hide. Shift and page changes are
     *  handled internally. */
    using Result = std::optional<keyboardlayout::Key>;

    /** @param size keyboard size in pixels
     *  @param doubleTapInterval longest time between two touches of Shift that turn on caps lock */
    KeyboardState(const QSize &size, Milliseconds doubleTapInterval);

    /** Reset the state for a field with these hints: its first page, lower case, no key pressed. */
    void open(Qt::InputMethodHints hints);

    /** Handle a touch-down.
     *  @param finger ID, unique while the finger is down
     *  @param at position in the window, in pixels
     *  @param when time on a monotonic clock
     *  @return key typed by the previous finger, if any */
    [[nodiscard]] Result press(int finger, const QPoint &at, Milliseconds when);
    /** Handle a move: cancel the pressed key when its finger slides off. */
    void move(int finger, const QPoint &at);
    /** Handle a touch-up. @return key typed, if any */
    [[nodiscard]] Result release(int finger, const QPoint &at, Milliseconds when);
    /** Type the held key again (auto-repeat); its release then types nothing. */
    [[nodiscard]] Result autoRepeat();
    /** Cancel the pressed key without typing it. */
    void cancel();

    const QList<keyboardlayout::Key> &keys() const { return m_keys; }
    keyboardlayout::Page page() const { return m_page; }
    keyboardlayout::Shift shift() const { return m_shift; }
    /** Return the index of the pressed key in keys(), or -1 if there is none. */
    int held() const { return m_heldKey; }

private:
    void switchPage(keyboardlayout::Page page);
    void handleShift(Milliseconds when);
    Result releaseHeldKey(Milliseconds when);

    QSize m_size;
    bool m_hasSpace = true; ///< true when the pages have a space bar
    Milliseconds m_doubleTapInterval;
    keyboardlayout::Page m_page = keyboardlayout::Page::Letters;
    QList<keyboardlayout::Key> m_keys;
    keyboardlayout::Shift m_shift = keyboardlayout::Shift::Off;
    Milliseconds m_shiftTouched{};

    int m_finger = 0;        ///< most recent finger; earlier ones have been handled
    int m_heldKey = -1;      ///< index of its key in m_keys, or -1
    bool m_repeated = false; ///< true when the held key was typed by auto-repeat
};
