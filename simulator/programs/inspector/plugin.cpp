// The inspector as a plugin, which Qt loads if QT_QPA_GENERIC_PLUGINS=inspector is set.
#include "simulator/programs/inspector/inspector.h"

#include <QtGui/qgenericplugin.h>

class InspectorPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "inspector.json")

public:
    QObject *create(const QString &name, const QString &) override
    {
        const QString path = qEnvironmentVariable("CORVANTA_INSPECTOR_SOCKET");
        if (name.compare(QLatin1String("inspector"), Qt::CaseInsensitive) != 0 || path.isEmpty())
            return nullptr;
        return new Inspector(path);
    }
};

#include "plugin.moc"
