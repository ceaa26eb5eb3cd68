#include "ApplicationQuitAction.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

const QString actionsInterface = QStringLiteral("org.gtk.Actions");
const QString quitAction = QStringLiteral("quit");

} // namespace

void ApplicationQuitAction::probe(const QString &busName, const QString &objectPath,
                                  QObject *context, std::function<void(bool)> answer) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || busName.isEmpty() || objectPath.isEmpty())
        return;
    const auto message = QDBusMessage::createMethodCall(busName, objectPath, actionsInterface,
                                                        QStringLiteral("List"));
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, answer = std::move(answer)] {
                         const QDBusPendingReply<QStringList> reply = *watcher;
                         answer(reply.isValid() && reply.value().contains(quitAction));
                         watcher->deleteLater();
                     });
}

bool ApplicationQuitAction::activate(const QString &busName, const QString &objectPath) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    auto message = QDBusMessage::createMethodCall(busName, objectPath, actionsInterface,
                                                  QStringLiteral("Activate"));
    // Activate(s action, av parameter, a{sv} platform data): "quit" takes no parameter.
    QDBusArgument noParameter;
    noParameter.beginArray(qMetaTypeId<QDBusVariant>());
    noParameter.endArray();
    message << quitAction << QVariant::fromValue(noParameter) << QVariantMap();
    message.setAutoStartService(false);
    return bus.send(message);
}
