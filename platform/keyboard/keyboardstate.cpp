#include "platform/keyboard/keyboardstate.h"

#include <algorithm>

using keyboardlayout::Action;
using keyboardlayout::Shift;

namespace
{

/** The tolerance at the edge of a key is the key's height divided by this. */
constexpr int ToleranceDivisor = 4;

} // namespace

KeyboardState::KeyboardState(const QSize &size, Milliseconds doubleTapInterval)
    : m_size(size), m_doubleTapInterval(doubleTapInterval)
{
    open(Qt::ImhNone);
}

void KeyboardState::open(Qt::InputMethodHints hints)
{
    m_hasSpace = keyboardlayout::hasSpace(hints);
    switchPage(keyboardlayout::initialPage(hints));
    m_shift = Shift::Off;
}

void KeyboardState::switchPage(keyboardlayout::Page page)
{
    cancel();
    m_page = page;
    m_keys = keyboardlayout::keys(page, m_size, m_hasSpace);
}

KeyboardState::Result KeyboardState::press(int finger, const QPoint &at, Milliseconds when)
{
    Result before = releaseHeldKey(when);
    const auto key = std::find_if(m_keys.cbegin(), m_keys.cend(),
                                  [&at](const auto &one) { return one.rect.contains(at); });
    if (key != m_keys.cend()) {
        m_finger = finger;
        m_heldKey = int(key - m_keys.cbegin());
    }
    return before;
}

void KeyboardState::move(int finger, const QPoint &at)
{
    if (m_heldKey == -1 || finger != m_finger)
        return;
    const QRect rect = m_keys[m_heldKey].rect;
    const int tolerance = rect.height() / ToleranceDivisor;
    if (!rect.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(at))
        cancel();
}

KeyboardState::Result KeyboardState::release(int finger, const QPoint &at, Milliseconds when)
{
    if (finger != m_finger)
        return {};
    move(finger, at);
    return releaseHeldKey(when);
}

KeyboardState::Result KeyboardState::autoRepeat()
{
    if (m_heldKey == -1)
        return {};
    m_repeated = true;
    return m_keys[m_heldKey];
}

void KeyboardState::cancel()
{
    m_heldKey = -1;
    m_repeated = false;
}

KeyboardState::Result KeyboardState::releaseHeldKey(Milliseconds when)
{
    const bool counts = m_heldKey != -1 && !m_repeated;
    const int held = m_heldKey;
    cancel();
    if (!counts)
        return {};
    keyboardlayout::Key key = m_keys[held];
    if (key.action == Action::Shift) {
        handleShift(when);
        return {};
    }
    if (key.action == Action::SwitchPage) {
        switchPage(key.page);
        return {};
    }
    if (key.action == Action::Character) {
        key.name = keyboardlayout::typedText(key, m_shift);
        if (m_shift == Shift::Once)
            m_shift = Shift::Off;
    }
    return key;
}

void KeyboardState::handleShift(Milliseconds when)
{
    const bool again = when - m_shiftTouched <= m_doubleTapInterval;
    if (m_shift == Shift::Off)
        m_shift = Shift::Once;
    else
        m_shift = m_shift == Shift::Once && again ? Shift::Locked : Shift::Off;
    m_shiftTouched = when;
}
