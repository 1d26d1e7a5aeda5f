#include "simulator/programs/modem/simcard.h"

#include "simulator/programs/common/digits.h"

namespace modem
{

SimCard::SimCard(const std::string &pin, const std::string &puk, int pinTries)
    : m_pin(pin), m_puk(puk), m_pinTries(pinTries)
{
}

SimCard SimCard::absent()
{
    SimCard card;
    card.m_present = false;
    return card;
}

bool SimCard::isPin(const std::string &text)
{
    return text.size() >= 4 && text.size() <= 8 && common::isDigits(text);
}

bool SimCard::isPuk(const std::string &text)
{
    return text.size() == 8 && common::isDigits(text);
}

SimCard::State SimCard::state() const
{
    if (!m_present)
        return State::Absent;
    if (m_pukTries == 0)
        return State::Blocked;
    if (m_pinTries == 0)
        return State::PukRequired;
    return m_pin.empty() || m_verified ? State::Ready : State::PinRequired;
}

SimCard::Result SimCard::enterPin(const std::string &pin)
{
    switch (state()) {
    case State::PinRequired:
        break;
    case State::PukRequired:
        return Result::PukRequired;
    case State::Ready:
        return Result::NotAllowed;
    default:
        return Result::Failure;
    }
    if (!isPin(pin))
        return Result::Malformed;
    m_verified = pin == m_pin;
    m_pinTries = m_verified ? MaxPinTries : m_pinTries - 1;
    return m_verified ? Result::Accepted : Result::Wrong;
}

SimCard::Result SimCard::enterPuk(const std::string &puk, const std::string &newPin)
{
    if (state() == State::Absent || state() == State::Blocked)
        return Result::Failure;
    if (state() != State::PukRequired)
        return Result::NotAllowed;
    if (!isPuk(puk) || !isPin(newPin))
        return Result::Malformed;
    if (puk != m_puk) {
        --m_pukTries;
        return Result::Wrong;
    }
    m_pin = newPin;
    m_pinTries = MaxPinTries;
    m_pukTries = MaxPukTries;
    m_verified = true;
    return Result::Accepted;
}

} // namespace modem
