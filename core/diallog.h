// Says in words how pppd's last dial ended, from its log.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/** Why a dial has not led to a link. */
struct DialFailure {
    QString cause;  ///< a sentence without a full stop
    QString remedy; ///< what to do, likewise
};

/**
 * Find the last message in pppd's log that says how a dial ended.
 * @param log end of the log
 * @return std::nullopt when the link came up, pppd was terminated, or no message is known
 */
[[nodiscard]] std::optional<DialFailure> lastDialFailure(const QByteArray &log);
