// Finds in pppd's log why the last dial failed.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/** Reason why a dial has not led to a link. */
struct DialFailure {
    QString cause;  ///< a sentence without a full stop
    QString remedy; ///< what to do, without a full stop
};

/** What to do when the SIM asks for its PUK. */
inline constexpr char PukRemedy[] =
    "get the PUK from the network operator; put the SIM into a phone, enter the PUK and a new PIN "
    "there; then enter this PIN on the panel";

/**
 * Find the last message in pppd's log that gives the result of a dial.
 * @param log end of the log
 * @return std::nullopt when the link came up, pppd was terminated, or no message is known
 */
[[nodiscard]] std::optional<DialFailure> lastDialFailure(const QByteArray &log);
