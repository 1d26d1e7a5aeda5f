// The SIM of the simulated dongle: PIN, PUK and the tries that are left.
#pragma once

#include <string>

namespace modem
{

/**
 * A SIM with an optional PIN. Three wrong PINs lock it until the PUK is entered, ten wrong PUKs
 * block it for good (3GPP TS 31.101). powerOn() keeps the tries that are left and forgets an
 * entered PIN.
 */
class SimCard
{
public:
    enum class State { Absent, Ready, PinRequired, PukRequired, Blocked };
    enum class Result { Accepted, NotAllowed, Wrong, Malformed, PukRequired, Failure };

    static constexpr int MaxPinTries = 3;
    static constexpr int MaxPukTries = 10;

    SimCard() = default;

    /**
     * @param pin empty for a card that asks for none
     * @param pinTries that are left, 0 to MaxPinTries
     */
    SimCard(const std::string &pin, const std::string &puk, int pinTries = MaxPinTries);

    /** A dongle without a card. */
    static SimCard absent();

    /** @return whether a text is a PIN: 4 to 8 digits */
    static bool isPin(const std::string &text);

    /** @return whether a text is a PUK: 8 digits */
    static bool isPuk(const std::string &text);

    State state() const;
    int pinTries() const { return m_pinTries; }
    int pukTries() const { return m_pukTries; }

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
