#include "simulator/programs/modem/dongle.h"

#include "simulator/programs/modem/escape.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace modem
{
namespace
{

using namespace std::chrono_literals;

constexpr auto ReopenPause = 200ms;
constexpr auto StopGrace = 2s; // pppd says good-bye to its peer before it ends

} // namespace

Dongle::Dongle(const Settings &settings, common::EventLog &log, NetworkSide &network)
    : m_settings(settings), m_log(log), m_network(network), m_port(settings.port)
{
    loadScenarioNow();
}

void Dongle::run(int signals)
{
    bool stopping = false;
    while (!stopping || m_network.running()) {
        pollfd descriptors[3] = {{signals, POLLIN, 0},
                                 {m_port.descriptor(), portEvents(), 0},
                                 m_relay.pollEntry(!m_port.hasPending())};
        if (::poll(descriptors, 3, pollTimeout()) == -1 && errno != EINTR) {
            event(std::string("poll: ") + std::strerror(errno));
            return;
        }
        if (descriptors[0].revents != 0 && takeSignals(signals) && !stopping) {
            stopping = true;
            event("told to stop");
            stopCall();
        }
        const std::string fromNetwork =
            descriptors[2].revents != 0 ? m_relay.serve(descriptors[2].revents) : std::string();
        if (m_port.isOpen() && !fromNetwork.empty() &&
            m_port.write(fromNetwork) == SerialPort::Status::Lost)
            losePort();
        else if (descriptors[1].revents != 0)
            servePort(descriptors[1].revents);
        if (const auto end = m_network.ended())
            finishCall(*end);
        serveTimers();
    }
    m_port.close();
    event("stopped");
}

int Dongle::pollTimeout() const
{
    Clock::time_point next = m_dropAt;
    if (!m_port.isOpen() && !m_network.running())
        next = std::min(next, m_reopenAt);
    if (!m_due.empty())
        next = std::min(next, m_due.front().at);
    const auto now = Clock::now();
    if (m_state == State::Stopping)
        next = std::min(next, m_killAt);
    if (next == Clock::time_point::max())
        return -1;
    // One more: a poll that ended early would make a busy loop of the last millisecond.
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(next - now).count();
    return static_cast<int>(std::clamp<long long>(left + 1, 0, 60000));
}

bool Dongle::takeSignals(int signals)
{
    bool stop = false;
    signalfd_siginfo info;
    while (::read(signals, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
        stop = stop || info.ssi_signo == SIGTERM || info.ssi_signo == SIGINT;
    return stop;
}

void Dongle::serveTimers()
{
    const auto now = Clock::now();
    sendDue();
    if (m_state == State::Dialling && m_due.empty() && !m_port.hasPending())
        startCall();
    if (now >= m_dropAt) {
        event("network drops the call");
        stopCall();
    }
    if (m_state == State::Stopping && now >= m_killAt)
        m_network.signal(SIGKILL);
    if (!m_port.isOpen() && !m_network.running() && now >= m_reopenAt)
        openPort();
}

short Dongle::portEvents() const
{
    const bool listening =
        m_state == State::Command || m_state == State::Dialling || m_relay.takesMore();
    return static_cast<short>((listening ? POLLIN : 0) | (m_port.hasPending() ? POLLOUT : 0));
}

void Dongle::servePort(short events)
{
    if ((events & POLLOUT) != 0 && m_port.flush() == SerialPort::Status::Lost)
        return losePort();
    if ((events & POLLIN) != 0) {
        std::string bytes;
        const auto status = m_port.read(bytes);
        receive(bytes);
        if (status == SerialPort::Status::Lost)
            losePort();
    } else if ((events & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        losePort();
    }
}

void Dongle::openPort()
{
    const int result = m_port.open();
    m_reopenAt = Clock::now() + ReopenPause;
    if (result == 0)
        event("line open");
    else if (result != m_openError)
        event(m_port.path() + ": " + std::strerror(-result));
    m_openError = result;
}

void Dongle::losePort()
{
    if (!m_port.isOpen())
        return;
    event("line lost");
    m_port.close();
    m_relay.close();
    m_redialled.clear();
    m_due.clear();
    m_assembler.reset();
    m_modem.powerOn();
    m_reopenAt = Clock::now() + ReopenPause;
    if (m_network.running())
        stopCall();
    else
        m_state = State::Command;
}

void Dongle::relayFromCaller(const std::string &bytes)
{
    if (m_redialled.empty() && m_state == State::Data) {
        const auto command = m_redial.feed(bytes);
        if (!command) {
            m_relay.send(bytes, m_scenario.ipcp);
            return;
        }
        event("caller starts over");
        m_redialled = *command;
        m_state = State::Stopping;
        m_network.signal(SIGKILL);
        m_relay.close();
    } else if (!m_redialled.empty()) {
        m_redialled += bytes;
    } else {
        m_relay.send(bytes, m_scenario.ipcp);
    }
}

void Dongle::receive(const std::string &bytes)
{
    if (m_state == State::Data || m_state == State::Stopping)
        return relayFromCaller(bytes);
    std::string echo;
    const auto sendEcho = [&] {
        if (m_scenario.answer != Scenario::Answer::Silent)
            m_port.write(echo);
        echo.clear();
    };
    for (const char byte : bytes) {
        if (m_state != State::Command)
            break; // a data dongle does not listen while it dials
        if (m_modem.echoes())
            echo += byte;
        m_assembler.setControls(m_modem.terminator(), m_modem.backspace());
        if (const auto line = m_assembler.feed(byte)) {
            loadScenarioNow();
            sendEcho();
            executeLine(*line);
        }
    }
    sendEcho();
}

void Dongle::executeLine(const std::string &line)
{
    m_log.write("heard " + printable(line));
    if (m_scenario.answer == Scenario::Answer::Silent)
        return;
    const Reply reply = m_modem.execute(line);
    if (reply.call) {
        event("dialled, apn \"" + reply.call->apn + "\", " +
              (reply.call->connected ? "connected" : "refused"));
        m_state = State::Dialling;
        m_callPending = reply.call->connected;
    }
    answer(reply.bytes, reply.call ? m_scenario.dialTime : 0ms);
}

void Dongle::loadScenarioNow()
{
    std::vector<std::string> faults;
    if (!m_settings.scenario.empty())
        m_scenario = loadScenario(m_settings.scenario, faults);
    m_modem.setScenario(m_scenario);
    if (faults != m_faults) {
        for (const std::string &fault : faults)
            event(fault);
    }
    m_faults = faults;
}

void Dongle::answer(const std::string &bytes, std::chrono::milliseconds later)
{
    Clock::time_point at = m_due.empty() ? Clock::now() : m_due.back().at;
    at += later;
    for (TimedBytes &part : pace(m_scenario, bytes)) {
        at += part.pause;
        m_due.push_back({at, std::move(part.bytes)});
    }
    if (!bytes.empty())
        m_log.write("reply " + printable(bytes));
    sendDue();
}

void Dongle::sendDue()
{
    while (!m_due.empty() && m_due.front().at <= Clock::now()) {
        const std::string bytes = std::move(m_due.front().bytes);
        m_due.pop_front();
        if (m_port.isOpen() && m_port.write(bytes) == SerialPort::Status::Lost)
            return losePort();
    }
}

void Dongle::startCall()
{
    if (!m_callPending) {
        m_state = State::Command;
        return;
    }
    const int result = m_relay.open();
    const std::string fault = result == 0
                                  ? m_network.start(m_scenario, m_relay.device())
                                  : std::string("pseudo-terminal: ") + std::strerror(-result);
    if (!fault.empty())
        return finishCall({false, fault});
    m_redial.reset();
    m_state = State::Data;
    event("network started, pid " + std::to_string(m_network.pid()));
    if (m_scenario.dropAfter > 0s)
        m_dropAt = Clock::now() + m_scenario.dropAfter;
}

void Dongle::stopCall()
{
    m_dropAt = Clock::time_point::max();
    if (!m_network.running() || m_state == State::Stopping)
        return;
    m_state = State::Stopping;
    m_killAt = Clock::now() + StopGrace;
    m_network.signal(SIGTERM);
}

void Dongle::finishCall(const NetworkEnd &end)
{
    event("network ended, " + end.text);
    m_state = State::Command;
    m_dropAt = Clock::time_point::max();
    for (std::string rest; !(rest = m_relay.serve(POLLIN)).empty();)
        m_port.write(rest);
    m_relay.close();
    m_assembler.reset();
    const std::string redialled = std::move(m_redialled);
    m_redialled.clear();
    if (!m_port.isOpen())
        return;
    loadScenarioNow();
    if (!redialled.empty())
        return receive(redialled);
    // A caller that hung up has closed the line: the result code would greet the next one.
    if (!end.callerLeft)
        answer(m_modem.callEnded(), 0ms);
}

} // namespace modem
