// Waiting for a condition while the event loop goes on serving touches, repaints, timers and
// signals.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

enum class WaitResult {
    Ready,     ///< the probe said yes
    TimedOut,  ///< the time limit passed first
    Abandoned, ///< nobody wants the answer any more
};

struct ServedWait {
    std::function<bool()> ready; ///< the probe; called once per interval, at once the first time
    std::function<bool()> abandoned; ///< looked at whenever events have been served; may be empty
    std::chrono::milliseconds interval{1000};
    std::optional<std::chrono::milliseconds> limit{}; ///< no limit by default
};

/**
 * Serves all pending events, probes, and repeats that once per interval. It does not rely on
 * nested event loops: those return at once when the application has been told to quit, and the
 * probes would follow each other without a pause.
 */
WaitResult waitServed(const ServedWait &wait);
