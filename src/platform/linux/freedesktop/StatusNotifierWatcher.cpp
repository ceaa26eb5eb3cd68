#include "StatusNotifierWatcher.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

bool StatusNotifierWatcher::isRegistered() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher"));
}
