// The simulated dongle: serial line, command interpreter and network together.
#pragma once

#include "simulator/programs/common/eventlog.h"
#include "simulator/programs/modem/atline.h"
#include "simulator/programs/modem/datarelay.h"
#include "simulator/programs/modem/modem.h"
#include "simulator/programs/modem/networkside.h"
#include "simulator/programs/modem/pacing.h"
#include "simulator/programs/modem/redial.h"
#include "simulator/programs/modem/serialport.h"

#include <chrono>
#include <deque>
#include <string>
#include <vector>

namespace modem
{

/**
 * Serves one serial line until it is told to stop. The line may vanish at any time, when the
 * dongle is pulled: the call ends, and the line comes back with a dongle that has just been
 * powered on.
 *
 * Its log has command lines and replies in double quotes, with escapes:
 *
 *     12.345 heard "AT+CSQ"
 *     12.346 reply "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
 *     13.000 event dialled, apn "internet", connected
 */
class Dongle
{
public:
    struct Settings {
        std::string port = "/dev/ttyGS0";
        std::string scenario; ///< file; empty for the defaults
    };

    Dongle(const Settings &settings, common::EventLog &log, NetworkSide &network);

    /**
     * Serves until SIGTERM or SIGINT.
     * @param signals a signalfd that delivers SIGTERM, SIGINT and SIGCHLD
     */
    void run(int signals);

private:
    using Clock = std::chrono::steady_clock;

    enum class State {
        Command,  ///< command lines are executed
        Dialling, ///< a dial command's result is on its way out
        Data,     ///< the network's pppd is on the line
        Stopping, ///< that pppd was told to end, and is waited for
    };

    struct DueBytes {
        Clock::time_point at;
        std::string bytes;
    };

    void event(const std::string &text) { m_log.write("event " + text); }
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
    common::EventLog &m_log;
    NetworkSide &m_network;
    SerialPort m_port;
    Modem m_modem;
    LineAssembler m_assembler;
    DataRelay m_relay;
    RedialDetector m_redial;
    std::string m_redialled; ///< command text that ended the call, to be executed after it
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
