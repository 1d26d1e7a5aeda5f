// The simulated stick as a running program: serial line, command interpreter and network together.
#pragma once

#include "at_line.h"
#include "data_relay.h"
#include "event_log.h"
#include "modem.h"
#include "network_side.h"
#include "pacing.h"
#include "redial.h"
#include "serial_port.h"

#include <chrono>
#include <deque>
#include <string>
#include <vector>

namespace modem
{

/**
 * Serves one serial line until it is told to stop. The line may vanish at any time (the stick is
 * pulled); the stick then ends its call, and comes back powered-on afresh with the line.
 */
class Stick
{
public:
    struct Settings {
        std::string port = "/dev/ttyGS0";
        std::string scenario; ///< file; empty for the defaults
    };

    Stick(const Settings &settings, EventLog &log, NetworkSide &network);

    /**
     * Serves until SIGTERM or SIGINT.
     * @param signals a signalfd that delivers SIGTERM, SIGINT and SIGCHLD.
     */
    void run(int signals);

private:
    using Clock = std::chrono::steady_clock;

    /** Command: lines are executed. Dialling: a dial command's result is on its way out. Data: the
     * network's pppd is on the line. Stopping: it was told to end, and is waited for. */
    enum class State { Command, Dialling, Data, Stopping };

    struct DueBytes {
        Clock::time_point at;
        std::string bytes;
    };

    int pollTimeout() const;
    bool takeSignals(int signals);
    void serveTimers();
    short portEvents() const;
    void servePort(short events);
    void openPort();
    void losePort();
    void receive(const std::string &bytes);
    void executeLine(const std::string &line);
    void loadScenarioNow();
    void answer(const std::string &bytes, std::chrono::milliseconds later);
    void sendDue();
    void startCall();
    void stopCall();
    void finishCall(const NetworkEnd &end);
    void relayFromCaller(const std::string &bytes);

    Settings m_settings;
    EventLog &m_log;
    NetworkSide &m_network;
    SerialPort m_port;
    Modem m_modem;
    LineAssembler m_assembler;
    DataRelay m_relay;
    RedialDetector m_redial;
    std::string m_redialled; ///< command text that ended the call and is to be executed after it
    Scenario m_scenario;
    std::vector<std::string> m_faults; ///< of the scenario, as last logged
    std::deque<DueBytes> m_due;
    State m_state = State::Command;
    bool m_callPending = false; ///< Dialling ends in a call
    Clock::time_point m_reopenAt{};
    Clock::time_point m_killAt{};
    Clock::time_point m_dropAt = Clock::time_point::max();
    int m_openError = 0; ///< as last logged
};

} // namespace modem
