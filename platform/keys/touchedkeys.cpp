#include "platform/keys/touchedkeys.h"

#include <algorithm>

using keylayout::Action;
using keylayout::Shift;

namespace
{

/** Tolerance at the edge of a key: 1/RollParts of the key's height. */
constexpr int RollParts = 4;

} // namespace

TouchedKeys::TouchedKeys(const QSize &size, Milliseconds doubleTouch)
    : m_size(size), m_doubleTouch(doubleTouch)
{
    open(keylayout::Page::Letters);
}

void TouchedKeys::open(keylayout::Page page)
{
    turnTo(page);
    m_shift = Shift::Off;
}

void TouchedKeys::turnTo(keylayout::Page page)
{
    cancel();
    m_page = page;
    m_keys = keylayout::keys(page, m_size);
}

TouchedKeys::Result TouchedKeys::press(int finger, const QPoint &at, Milliseconds when)
{
    Result before = finish(when);
    const auto key = std::find_if(m_keys.cbegin(), m_keys.cend(),
                                  [&at](const auto &one) { return one.rect.contains(at); });
    if (key != m_keys.cend()) {
        m_finger = finger;
        m_held = int(key - m_keys.cbegin());
    }
    return before;
}

void TouchedKeys::move(int finger, const QPoint &at)
{
    if (m_held == -1 || finger != m_finger)
        return;
    const QRect rect = m_keys[m_held].rect;
    const int roll = rect.height() / RollParts;
    if (!rect.adjusted(-roll, -roll, roll, roll).contains(at))
        cancel();
}

TouchedKeys::Result TouchedKeys::release(int finger, const QPoint &at, Milliseconds when)
{
    if (finger != m_finger)
        return {};
    move(finger, at);
    return finish(when);
}

TouchedKeys::Result TouchedKeys::repeat()
{
    if (m_held == -1)
        return {};
    m_repeated = true;
    return m_keys[m_held];
}

void TouchedKeys::cancel()
{
    m_held = -1;
    m_repeated = false;
}

TouchedKeys::Result TouchedKeys::finish(Milliseconds when)
{
    const bool counts = m_held != -1 && !m_repeated;
    const int held = m_held;
    cancel();
    if (!counts)
        return {};
    keylayout::Key key = m_keys[held];
    if (key.action == Action::Shift) {
        touchShift(when);
        return {};
    }
    if (key.action == Action::Turn) {
        turnTo(key.page);
        return {};
    }
    if (key.action == Action::Type) {
        key.name = keylayout::typedText(key, m_shift);
        if (m_shift == Shift::Once)
            m_shift = Shift::Off;
    }
    return key;
}

void TouchedKeys::touchShift(Milliseconds when)
{
    const bool again = when - m_shiftTouched <= m_doubleTouch;
    if (m_shift == Shift::Off)
        m_shift = Shift::Once;
    else
        m_shift = m_shift == Shift::Once && again ? Shift::Locked : Shift::Off;
    m_shiftTouched = when;
}
