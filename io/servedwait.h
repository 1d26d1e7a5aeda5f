// Waiting for a condition while the event loop goes on serving touches, repaints, timers and
// signals.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

enum class WaitResult {
    Ready,     ///< the probe succeeded
    TimedOut,  ///< the time limit passed first
    Abandoned, ///< nobody wants the answer any more
};

struct ServedWait {
    std::function<bool()> ready;     ///< the probe: called at once, then once per interval
    std::function<bool()> abandoned; ///< called whenever events have been served; may be empty
    std::chrono::milliseconds interval{1000};
    std::optional<std::chrono::milliseconds> limit{}; ///< no limit by default
};

/**
 * Serves all pending events, then calls the probe, and repeats both once per interval. It uses no
 * nested event loop: such a loop returns at once when the application has been told to quit, and
 * the probes would follow each other without a pause.
 */
WaitResult waitServed(const ServedWait &wait);
