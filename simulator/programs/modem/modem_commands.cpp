// The commands that the dongle knows, each as one handler.
#include "simulator/programs/modem/modem.h"

#include "simulator/programs/common/digits.h"

namespace modem
{
namespace
{

using Operation = Command::Operation;

std::string quoted(const std::string &text)
{
    return '"' + text + '"';
}

} // namespace

const std::map<std::string, Modem::Handler> &Modem::handlers()
{
    static const std::map<std::string, Handler> table = {
        {"D", &Modem::dial},
        {"E", &Modem::setFlag},
        {"H", &Modem::accept},
        {"I", &Modem::identify},
        {"L", &Modem::accept},
        {"M", &Modem::accept},
        {"Q", &Modem::setFlag},
        {"S", &Modem::sRegister},
        {"V", &Modem::setFlag},
        {"X", &Modem::accept},
        {"Z", &Modem::reset},
        {"&C", &Modem::accept},
        {"&D", &Modem::accept},
        {"&F", &Modem::reset},
        {"+CFUN", &Modem::accept},
        {"+CGDCONT", &Modem::context},
        {"+CMEE", &Modem::errorFormat},
        {"+COPS", &Modem::networkOperator},
        {"+CPIN", &Modem::pin},
        {"+CPINR", &Modem::pinTries},
        {"+CREG", &Modem::registration},
        {"+CSQ", &Modem::signalQuality},
    };
    return table;
}

bool Modem::readNumber(const Command &command, int maximum, int &number)
{
    const auto given = common::wholeNumber(command.value, 0, maximum);
    number = given.value_or(0);
    return given || command.value.empty();
}

Modem::Outcome Modem::accept(const Command &, Line &)
{
    return {};
}

Modem::Outcome Modem::setFlag(const Command &command, Line &)
{
    int number = 0;
    if (!readNumber(command, 1, number))
        return invalid();
    bool &flag = command.name == "E"   ? m_profile.echo
                 : command.name == "Q" ? m_profile.quiet
                                       : m_profile.verbose;
    flag = number == 1;
    return {};
}

Modem::Outcome Modem::reset(const Command &command, Line &)
{
    int number = 0;
    if (!readNumber(command, 1, number))
        return invalid();
    resetProfile();
    // V.250, 6.1.1: what follows Z on the line is ignored.
    return {ResultCode::Ok, std::nullopt, command.name == "Z"};
}

Modem::Outcome Modem::identify(const Command &, Line &line)
{
    for (const char *text : {"Manufacturer: Corvanta", "Model: Dongle simulator", "Revision: 1.0",
                             "IMEI: 490154203237518"})
        inform(line, text);
    return {};
}

Modem::Outcome Modem::dial(const Command &command, Line &line)
{
    using Dial = Scenario::Dial;
    static const std::map<Dial, ResultCode> refusals = {
        {Dial::NoCarrier, ResultCode::NoCarrier}, {Dial::Busy, ResultCode::Busy},
        {Dial::Error, ResultCode::Error},         {Dial::NoDialtone, ResultCode::NoDialtone},
        {Dial::NoAnswer, ResultCode::NoAnswer},   {Dial::Delayed, ResultCode::Delayed},
    };
    if (const auto trouble = simTrouble())
        return failure(*trouble);
    line.call = Call{};
    const auto packetCall = parsePacketCall(command.value);
    if (!packetCall)
        return {ResultCode::NoCarrier, std::nullopt, true};
    const auto context = m_contexts.find(packetCall->contextId);
    if (context != m_contexts.end())
        line.call->apn = context->second.second;
    const auto refusal = refusals.find(m_scenario.dial);
    if (refusal != refusals.end())
        return {refusal->second, std::nullopt, true};
    if (!m_scenario.apn.empty() && line.call->apn != m_scenario.apn)
        return {ResultCode::NoCarrier, std::nullopt, true};
    line.call->connected = true;
    return {ResultCode::Connect, std::nullopt, true};
}

Modem::Outcome Modem::sRegister(const Command &command, Line &line)
{
    const auto number = common::wholeNumber(command.name.substr(1), 0, 255);
    int value = 0;
    if (!number || !readNumber(command, *number == 3 || *number == 5 ? 127 : 255, value))
        return invalid();
    int &content = m_profile.registers[static_cast<size_t>(*number)];
    if (command.operation == Operation::Set) {
        content = value;
    } else {
        const std::string digits = std::to_string(content);
        inform(line, std::string(3 - digits.size(), '0') + digits);
    }
    return {};
}

Modem::Outcome Modem::errorFormat(const Command &command, Line &line)
{
    int number = 0;
    if (command.operation == Operation::Read) {
        inform(line, "+CMEE: " + std::to_string(m_profile.errorFormat));
        return {};
    }
    if (command.operation != Operation::Set || !readNumber(command, 2, number))
        return invalid();
    m_profile.errorFormat = number;
    return {};
}

Modem::Outcome Modem::simOutcome(SimCard::Result result) const
{
    switch (result) {
    case SimCard::Result::Accepted:
        return {};
    case SimCard::Result::NotAllowed:
        return failure(EquipmentError::OperationNotAllowed);
    case SimCard::Result::Wrong:
        return failure(EquipmentError::IncorrectPassword);
    case SimCard::Result::Malformed:
        return failure(EquipmentError::IncorrectParameters);
    case SimCard::Result::PukRequired:
        return failure(EquipmentError::SimPukRequired);
    case SimCard::Result::Failure:
        break;
    }
    return failure(simTrouble().value_or(EquipmentError::SimFailure));
}

Modem::Outcome Modem::pin(const Command &command, Line &line)
{
    const SimCard::State state = m_sim.state();
    if (command.operation == Operation::Read) {
        if (state == SimCard::State::Absent || state == SimCard::State::Blocked)
            return failure(*simTrouble());
        inform(line, state == SimCard::State::PinRequired   ? "+CPIN: SIM PIN"
                     : state == SimCard::State::PukRequired ? "+CPIN: SIM PUK"
                                                            : "+CPIN: READY");
        return {};
    }
    if (command.operation != Operation::Set)
        return invalid();
    const auto arguments = splitArguments(command.value);
    if (arguments.size() == 1)
        return simOutcome(m_sim.enterPin(arguments[0]));
    if (arguments.size() == 2)
        return simOutcome(m_sim.enterPuk(arguments[0], arguments[1]));
    return failure(EquipmentError::IncorrectParameters);
}

Modem::Outcome Modem::pinTries(const Command &command, Line &line)
{
    if (m_sim.state() == SimCard::State::Absent)
        return failure(EquipmentError::SimNotInserted);
    const size_t before = line.information.size();
    const auto row = [&](const std::string &code, int left, int all) {
        if (command.operation == Operation::Execute || splitArguments(command.value)[0] == code)
            inform(line,
                   "+CPINR: " + code + ',' + std::to_string(left) + ',' + std::to_string(all));
    };
    row("SIM PIN", m_sim.pinTries(), SimCard::MaxPinTries);
    row("SIM PUK", m_sim.pukTries(), SimCard::MaxPukTries);
    return line.information.size() == before ? failure(EquipmentError::IncorrectParameters)
                                             : Outcome{};
}

Modem::Outcome Modem::registration(const Command &command, Line &line)
{
    if (command.operation == Operation::Read)
        inform(line, command.name + ": 0," + (simTrouble() ? '0' : '1'));
    return {};
}

Modem::Outcome Modem::networkOperator(const Command &command, Line &line)
{
    if (const auto trouble = simTrouble())
        return failure(*trouble);
    if (command.operation == Operation::Read)
        inform(line, "+COPS: 0,0,\"Testnet\",2"); // chosen by itself, long name, UTRAN
    return {};
}

Modem::Outcome Modem::signalQuality(const Command &command, Line &line)
{
    if (command.operation != Operation::Execute)
        return invalid();
    inform(line, "+CSQ: " + m_scenario.signalQuality);
    return {};
}

Modem::Outcome Modem::context(const Command &command, Line &line)
{
    if (command.operation == Operation::Read) {
        for (const auto &[id, context] : m_contexts)
            inform(line, "+CGDCONT: " + std::to_string(id) + ',' + quoted(context.first) + ',' +
                             quoted(context.second) + ",\"\",0,0");
        return {};
    }
    const auto arguments = splitArguments(command.value);
    const Command number{{}, Operation::Set, arguments[0]};
    int id = 0;
    if (command.operation != Operation::Set || !readNumber(number, 16, id) || id == 0)
        return failure(EquipmentError::IncorrectParameters);
    if (arguments.size() == 1)
        m_contexts.erase(id);
    else
        m_contexts[id] = {arguments[1], arguments.size() > 2 ? arguments[2] : std::string()};
    return {};
}

} // namespace modem
