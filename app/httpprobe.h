// Interface of the HTTP probe plugin.
//
// Only the plugin links QtNetwork. No button starts the probe, so the program loads the plugin on
// first use instead of loading QtNetwork's nine libraries at every start.
#pragma once

#include <QByteArray>
#include <QString>
#include <QtPlugin>

class QNetworkReply;

class HttpProbe
{
public:
    /** Result of a probe. */
    struct Result {
        QByteArray body; ///< complete page
        QString error;   ///< error message; null on success
    };

    virtual ~HttpProbe() = default;

    /**
     * Start fetching a page. Redirects are not followed; the redirect itself is the result.
     * @return access manager, which emits finished(QNetworkReply *) when the result is available
     */
    [[nodiscard]] virtual QObject *fetch(const QString &url) = 0;

    /** Read a finished reply and delete it together with its access manager. */
    [[nodiscard]] virtual Result takeResult(QNetworkReply *reply) = 0;
};

#define HttpProbe_iid "corvanta.HttpProbe/1"
Q_DECLARE_INTERFACE(HttpProbe, HttpProbe_iid)
