// Waits for a condition while processing events: touches, repaints, timers and signals.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

enum class WaitResult {
    Ready,     ///< ready() returned true
    TimedOut,  ///< the timeout expired
    Cancelled, ///< cancelled() returned true
};

struct EventWait {
    std::function<bool()> ready;     ///< condition: called immediately, then once per interval
    std::function<bool()> cancelled; ///< called each time events were processed; may be empty
    std::chrono::milliseconds interval{1000};
    std::optional<std::chrono::milliseconds> timeout{}; ///< no timeout by default
};

/**
 * Process all pending events, then call ready(); repeat this once per interval. No nested event
 * loop is used, because it would return immediately once the application has been asked to quit,
 * and ready() would be called without a pause.
 */
[[nodiscard]] WaitResult waitWithEvents(const EventWait &wait);
