#include "ApplicationQuitAction.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace {

const QString actionsInterface = QStringLiteral("org.gtk.Actions");
const QString quitAction = QStringLiteral("quit");

QDBusMessage busCall(const QString &method, const QString &name) {
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                  QStringLiteral("/org/freedesktop/DBus"),
                                                  QStringLiteral("org.freedesktop.DBus"), method);
    message << name;
    return message;
}

// Sends the call and hands a successful reply's first argument to next, on the main thread.
void whenAnswered(const QDBusMessage &call, QObject *context,
                  std::function<void(const QVariant &)> next) {
    auto *watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), context);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, context, [watcher, next = std::move(next)] {
            watcher->deleteLater();
            const QDBusMessage reply = watcher->reply();
            if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
                next(reply.arguments().constFirst());
        });
}

using Answer = std::function<void(const QString &)>;

void askForQuit(const QString &owner, const QString &objectPath, QObject *context, Answer answer) {
    whenAnswered(
        QDBusMessage::createMethodCall(owner, objectPath, actionsInterface, QStringLiteral("List")),
        context, [owner, answer = std::move(answer)](const QVariant &actions) {
            if (actions.toStringList().contains(quitAction))
                answer(owner);
        });
}

void askIfOwnedBy(qint32 processIdentifier, const QString &owner, const QString &objectPath,
                  QObject *context, Answer answer) {
    whenAnswered(busCall(QStringLiteral("GetConnectionUnixProcessID"), owner), context,
                 [=, answer = std::move(answer)](const QVariant &pid) {
                     if (pid.toLongLong() == processIdentifier)
                         askForQuit(owner, objectPath, context, answer);
                 });
}

} // namespace

// The stated name is resolved to its unique owner, which no other connection can ever take
// over; that owner's process must be the window's, and never this program.
void ApplicationQuitAction::probe(const QString &busName, const QString &objectPath,
                                  qint32 processIdentifier, QObject *context, Answer answer) {
    if (!QDBusConnection::sessionBus().isConnected() || busName.isEmpty() || objectPath.isEmpty() ||
        processIdentifier <= 0 || processIdentifier == QCoreApplication::applicationPid())
        return;
    whenAnswered(busCall(QStringLiteral("GetNameOwner"), busName), context,
                 [=, answer = std::move(answer)](const QVariant &owner) {
                     askIfOwnedBy(processIdentifier, owner.toString(), objectPath, context, answer);
                 });
}

bool ApplicationQuitAction::activate(const QString &ownerName, const QString &objectPath) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    auto message = QDBusMessage::createMethodCall(ownerName, objectPath, actionsInterface,
                                                  QStringLiteral("Activate"));
    // Activate(s action, av parameter, a{sv} platform data): "quit" takes no parameter.
    QDBusArgument noParameter;
    noParameter.beginArray(qMetaTypeId<QDBusVariant>());
    noParameter.endArray();
    message << quitAction << QVariant::fromValue(noParameter) << QVariantMap();
    message.setAutoStartService(false);
    return bus.send(message);
}
