// What fingers on the keys come to: which key is touched, how letters are typed, which page shows.
//
// A finger's key counts when the finger is lifted from it, or when the next finger comes down: with
// two thumbs in turn no character is lost and none is typed twice. A finger that has left its key
// comes to nothing. Knows no window, no clock and no colour.
#pragma once

#include "platform/keys/keylayout.h"

#include <chrono>
#include <optional>

class TouchedKeys
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /** What a touch has come to, beside what changes here: a key that types, deletes or ends. */
    using Result = std::optional<keylayout::Key>;

    /** @param size of all keys together @param doubleTouch longest time between two touches of
     * Shift that lock it */
    TouchedKeys(const QSize &size, Milliseconds doubleTouch);

    /** Starts over: a page of its own for each field, small letters, no finger. */
    void open(keylayout::Page page);

    /** A finger comes down. @param finger any number that tells it from others, until it is lifted
     *  @param when on a clock that never goes back @return what the finger before has come to */
    Result press(int finger, const QPoint &at, Milliseconds when);
    void move(int finger, const QPoint &at);
    /** A finger is lifted. @return what it has come to */
    Result release(int finger, const QPoint &at, Milliseconds when);
    /** The held key counts once more; it does not when it is released then. */
    Result repeat();
    /** All fingers come to nothing. */
    void cancel();

    const QList<keylayout::Key> &keys() const { return m_keys; }
    keylayout::Page page() const { return m_page; }
    keylayout::Shift shift() const { return m_shift; }
    /** Index in keys() of the key under a finger; -1 without one. */
    int held() const { return m_held; }

private:
    void turnTo(keylayout::Page page);
    void touchShift(Milliseconds when);
    Result finish(Milliseconds when);

    QSize m_size;
    Milliseconds m_doubleTouch;
    keylayout::Page m_page = keylayout::Page::Letters;
    QList<keylayout::Key> m_keys;
    keylayout::Shift m_shift = keylayout::Shift::Off;
    Milliseconds m_shiftTouched{};

    int m_finger = 0;        ///< the latest to come down: those before it have come to their end
    int m_held = -1;         ///< the key under it
    bool m_repeated = false; ///< the held key has counted before its finger is lifted
};
