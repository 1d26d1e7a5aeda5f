// What the controller asks of the module that does the HTTP probe.
//
// The module alone links QtNetwork. The program would load its nine libraries at every start, for a
// probe that no button leads to; so it loads the module when a probe is first asked for.
#pragma once

#include <QByteArray>
#include <QString>
#include <QtPlugin>

class QNetworkReply;

class HttpProbe
{
public:
    /** What has come of a probe. */
    struct Outcome {
        QByteArray body; ///< the page, whole
        QString error;   ///< null when the page has been fetched
    };

    virtual ~HttpProbe() = default;

    /**
     * Starts to fetch a page. A redirection counts as the answer and is not followed.
     * @return the access manager, whose signal finished(QNetworkReply *) gives the outcome
     */
    virtual QObject *fetch(const QString &url) = 0;

    /** Reads a finished reply and releases it with its manager. */
    virtual Outcome take(QNetworkReply *reply) = 0;
};

#define HttpProbe_iid "corvanta.HttpProbe/1"
Q_DECLARE_INTERFACE(HttpProbe, HttpProbe_iid)
