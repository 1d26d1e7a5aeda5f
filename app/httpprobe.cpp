// HTTP probe plugin.
#include "app/httpprobe.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

class HttpProbeModule : public QObject, public HttpProbe
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID HttpProbe_iid)
    Q_INTERFACES(HttpProbe)

public:
    QObject *fetch(const QString &url) override
    {
        QNetworkRequest request{QUrl(url)};
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::ManualRedirectPolicy);
        auto *manager = new QNetworkAccessManager;
        manager->get(request);
        return manager;
    }

    Result takeResult(QNetworkReply *reply) override
    {
        reply->manager()->deleteLater(); // Also deletes the reply, its child.
        if (reply->error() != QNetworkReply::NoError)
            return {{}, reply->errorString()};
        return {reply->readAll(), {}};
    }
};

#include "httpprobe.moc"
