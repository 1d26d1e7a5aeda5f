#include "simulator/programs/modem/modem.h"

namespace modem
{
namespace
{

const char *verboseText(ResultCode code)
{
    switch (code) {
    case ResultCode::Ok:
        return "OK";
    case ResultCode::Connect:
        return "CONNECT";
    case ResultCode::NoCarrier:
        return "NO CARRIER";
    case ResultCode::Error:
        return "ERROR";
    case ResultCode::NoDialtone:
        return "NO DIALTONE";
    case ResultCode::Busy:
        return "BUSY";
    case ResultCode::NoAnswer:
        return "NO ANSWER";
    case ResultCode::Delayed:
        return "DELAYED";
    }
    return "ERROR";
}

const char *verboseText(EquipmentError error)
{
    switch (error) {
    case EquipmentError::OperationNotAllowed:
        return "operation not allowed";
    case EquipmentError::SimNotInserted:
        return "SIM not inserted";
    case EquipmentError::SimPinRequired:
        return "SIM PIN required";
    case EquipmentError::SimPukRequired:
        return "SIM PUK required";
    case EquipmentError::SimFailure:
        return "SIM failure";
    case EquipmentError::IncorrectPassword:
        return "incorrect password";
    case EquipmentError::IncorrectParameters:
        return "Incorrect parameters";
    }
    return "unknown";
}

} // namespace

Modem::Modem()
{
    powerOn();
}

void Modem::setScenario(const Scenario &scenario)
{
    const bool otherCard =
        scenario.simPresent != m_scenario.simPresent || scenario.simPin != m_scenario.simPin ||
        scenario.simPuk != m_scenario.simPuk || scenario.simTries != m_scenario.simTries;
    const bool otherEcho = (scenario.answer == Scenario::Answer::Echo) !=
                           (m_scenario.answer == Scenario::Answer::Echo);
    m_scenario = scenario;
    if (otherCard) {
        m_sim = scenario.simPresent ? SimCard(scenario.simPin, scenario.simPuk, scenario.simTries)
                                    : SimCard::absent();
    }
    if (otherEcho)
        m_profile.echo = scenario.answer == Scenario::Answer::Echo;
}

void Modem::powerOn()
{
    resetProfile();
    m_sim.powerOn();
    m_contexts.clear();
    m_lastLine.clear();
}

void Modem::resetProfile()
{
    m_profile = Profile{};
    m_profile.echo = m_scenario.answer == Scenario::Answer::Echo;
    m_profile.registers[3] = '\r';
    m_profile.registers[4] = '\n';
    m_profile.registers[5] = '\b';
    m_profile.registers[7] = 50; // seconds to wait for a carrier
}

Reply Modem::execute(const std::string &line)
{
    if (line != "A/")
        m_lastLine = line;
    const auto body = commandBody(m_lastLine);
    if (!body)
        return {};

    Line state;
    Outcome outcome;
    for (const Command &command : parseCommands(*body)) {
        outcome = run(command, state);
        if (outcome.code != ResultCode::Ok || outcome.error || outcome.endsLine)
            break;
    }
    const bool connected = state.call && state.call->connected;
    Reply reply;
    reply.bytes = state.information + finalText(outcome, connected);
    reply.call = state.call;
    return reply;
}

Modem::Outcome Modem::run(const Command &command, Line &line)
{
    if (command.operation == Command::Operation::Invalid || command.name == m_scenario.refused)
        return invalid();
    const bool isRegister = command.name.size() > 1 && command.name[0] == 'S';
    const auto found = handlers().find(isRegister ? "S" : command.name);
    if (found == handlers().end())
        return invalid();
    if (command.operation == Command::Operation::Test)
        return {};
    return (this->*found->second)(command, line);
}

void Modem::inform(Line &line, const std::string &text) const
{
    const std::string end = {terminator(), static_cast<char>(m_profile.registers[4])};
    line.information += (m_profile.verbose ? end : std::string()) + text + end;
}

std::string Modem::resultText(ResultCode code) const
{
    if (m_profile.quiet)
        return {};
    const std::string end = {terminator(), static_cast<char>(m_profile.registers[4])};
    if (!m_profile.verbose)
        return std::to_string(static_cast<int>(code)) + terminator();
    return end + verboseText(code) + end;
}

std::string Modem::finalText(const Outcome &outcome, bool connected) const
{
    const std::string end = {terminator(), static_cast<char>(m_profile.registers[4])};
    if (m_profile.quiet)
        return {};
    if (outcome.error && m_profile.errorFormat != 0) {
        const std::string number = std::to_string(static_cast<int>(*outcome.error));
        const std::string text = m_profile.errorFormat == 1 ? number : verboseText(*outcome.error);
        return end + "+CME ERROR: " + text + end;
    }
    if (connected && m_profile.verbose)
        return end + "CONNECT 3600000" + end;
    return resultText(outcome.code);
}

Modem::Outcome Modem::failure(EquipmentError error)
{
    return {ResultCode::Error, error, false};
}

std::optional<EquipmentError> Modem::simTrouble() const
{
    switch (m_sim.state()) {
    case SimCard::State::Ready:
        return std::nullopt;
    case SimCard::State::PinRequired:
        return EquipmentError::SimPinRequired;
    case SimCard::State::PukRequired:
        return EquipmentError::SimPukRequired;
    case SimCard::State::Blocked:
        return EquipmentError::SimFailure;
    case SimCard::State::Absent:
        break;
    }
    return EquipmentError::SimNotInserted;
}

} // namespace modem
