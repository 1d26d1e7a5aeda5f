// The SIM of the simulated stick: PIN, PUK and the tries that are left.
#pragma once

#include <string>

namespace modem
{

/**
 * A SIM with an optional PIN. Three wrong PINs lock it until the PUK is given, ten wrong PUKs block
 * it for good (3GPP TS 31.101). Tries survive powerOn(), an entered PIN does not.
 */
class SimCard
{
public:
    enum class State { Absent, Ready, PinRequired, PukRequired, Blocked };
    enum class Result { Accepted, NotAllowed, Wrong, Malformed, PukRequired, Failure };

    static constexpr int MaxPinTries = 3;
    static constexpr int MaxPukTries = 10;

    SimCard() = default;

    /** @param pin 4 to 8 digits, empty for a card that asks for none; @param puk 8 digits. */
    SimCard(const std::string &pin, const std::string &puk);

    /** A stick without a card. */
    static SimCard absent();

    State state() const;
    int pinTries() const { return m_pinTries; }
    int pukTries() const { return m_pukTries; }

    /** The stick gets power: the PIN is asked for again. */
    void powerOn() { m_verified = false; }

    Result enterPin(const std::string &pin);
    Result enterPuk(const std::string &puk, const std::string &newPin);

private:
    std::string m_pin;
    std::string m_puk;
    int m_pinTries = MaxPinTries;
    int m_pukTries = MaxPukTries;
    bool m_present = true;
    bool m_verified = false;
};

} // namespace modem
