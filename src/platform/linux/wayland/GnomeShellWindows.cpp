#include "GnomeShellWindows.h"

#include "platform/SystemLog.h"

#include <algorithm>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

namespace {

const QString extensionService = QStringLiteral("app.quellory.Quellory.Shell");
const QString extensionPath = QStringLiteral("/app/quellory/Quellory/Shell");
const QString extensionInterface = QStringLiteral("app.quellory.Quellory.Shell");
const QString windowListSignature = QStringLiteral("a(tsisssbs)");

const QString shellService = QStringLiteral("org.gnome.Shell");
const QString shellPath = QStringLiteral("/org/gnome/Shell");
const QString extensionsInterface = QStringLiteral("org.gnome.Shell.Extensions");

// GNOME Shell's ExtensionState values that matter here.
constexpr int extensionEnabled = 1;
constexpr int extensionDisabled = 2;
constexpr int extensionInitialized = 6;

// Mutter's window types that a task bar shows (the rest are docks, menus, utilities…).
bool isOrdinaryType(const QString &type) {
    return type == QLatin1String("normal") || type == QLatin1String("dialog") ||
           type == QLatin1String("modal_dialog");
}

// Loaded by the shell, and not turned on.
bool isOff(const QVariantMap &info) {
    const int state = info.value(QStringLiteral("state")).toInt();
    return state == extensionDisabled || state == extensionInitialized;
}

// The Wayland windows in a ListWindows reply, in the extension's terms: the shell's application
// id ("<desktop file ID>.desktop", or "window:N" when it knows none) becomes the id the window
// states, and otherwise its app_id stands in.
std::vector<ClientWindow> windowsOf(const QDBusMessage &reply, WindowSource *source) {
    std::vector<ClientWindow> windows;
    // Anyone may own the name; only a reply of the extension's own shape is read.
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != windowListSignature)
        return windows;
    const auto list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        ClientWindow window;
        QString shellAppId, clientType, type;
        bool isSkipTaskbar = false;
        list.beginStructure();
        list >> window.id >> shellAppId >> window.processIdentifier >> window.title >>
            window.className >> clientType >> isSkipTaskbar >> type;
        list.endStructure();
        if (clientType != QLatin1String("wayland"))
            continue;
        const QString suffix = QStringLiteral(".desktop");
        window.appId =
            shellAppId.endsWith(suffix) ? shellAppId.chopped(suffix.size()) : window.className;
        window.source = source;
        window.isOrdinary = !isSkipTaskbar && isOrdinaryType(type);
        window.acceptsDelete = true;
        windows.push_back(std::move(window));
    }
    list.endArray();
    return windows;
}

} // namespace

const QString GnomeShellWindows::extensionUuid = QStringLiteral("quellory@quellory.app");

GnomeShellWindows::GnomeShellWindows(QDBusConnection bus, SystemLog &log, QObject *parent)
    : WindowSource(parent), m_bus(std::move(bus)), m_log(log) {
    auto *watcher = new QDBusServiceWatcher(extensionService, m_bus,
                                            QDBusServiceWatcher::WatchForRegistration |
                                                QDBusServiceWatcher::WatchForUnregistration,
                                            this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this,
            &GnomeShellWindows::extensionAppeared);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            &GnomeShellWindows::extensionVanished);
    m_bus.connect(extensionService, extensionPath, extensionInterface,
                  QStringLiteral("WindowsChanged"), this, SLOT(reload()));
    // A shell that is still starting may read its extensions after this program asked.
    m_bus.connect(shellService, shellPath, extensionsInterface,
                  QStringLiteral("ExtensionStateChanged"), this,
                  SLOT(extensionStateChanged(QString, QVariantMap)));
    if (m_bus.isConnected() && m_bus.interface()->isServiceRegistered(extensionService))
        extensionAppeared();
    else
        startExtension();
}

// Mutter kills an X11 client that cannot be asked: this closes only Wayland windows.
bool GnomeShellWindows::requestClose(const ClientWindow &window) {
    return window.acceptsDelete && window.source == this &&
           call(QStringLiteral("Close"), window.id);
}

void GnomeShellWindows::activate(const ClientWindow &window) {
    call(QStringLiteral("Activate"), window.id);
}

bool GnomeShellWindows::call(const QString &method, quint64 id) {
    auto message =
        QDBusMessage::createMethodCall(extensionService, extensionPath, extensionInterface, method);
    message << QVariant::fromValue(qulonglong(id));
    return m_isServing && m_bus.send(message);
}

void GnomeShellWindows::reload() {
    if (!m_isServing)
        return;
    const auto message = QDBusMessage::createMethodCall(
        extensionService, extensionPath, extensionInterface, QStringLiteral("ListWindows"));
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (m_isServing)
            setWindows(windowsOf(watcher->reply(), this));
    });
}

void GnomeShellWindows::extensionAppeared() {
    m_isServing = true;
    emit servingChanged();
    reload();
}

void GnomeShellWindows::extensionVanished() {
    if (!m_isServing)
        return;
    m_isServing = false;
    setWindows({});
    emit servingChanged();
    m_log.write(QStringLiteral("Quellory: GNOME Shell's window list went away; no running "
                               "applications can be listed until it returns"));
}

// The user installed Quellory to use it: an extension that is installed but off is turned on.
void GnomeShellWindows::startExtension() {
    const auto message =
        QDBusMessage::createMethodCall(shellService, shellPath, extensionsInterface,
                                       QStringLiteral("GetExtensionInfo"))
        << extensionUuid;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QVariantMap> info = *watcher;
        if (info.isValid())
            answerExtensionInfo(info.value());
        else
            m_log.write(QStringLiteral("Quellory: GNOME Shell does not answer on the session "
                                       "bus; only applications started in their own units can "
                                       "be listed"));
    });
}

// Only an extension that the shell has just read: one the user turns off stays off until the
// program starts again.
void GnomeShellWindows::extensionStateChanged(const QString &uuid, const QVariantMap &info) {
    if (uuid == extensionUuid &&
        info.value(QStringLiteral("state")).toInt() == extensionInitialized)
        enableExtension();
}

void GnomeShellWindows::answerExtensionInfo(const QVariantMap &info) {
    // Extensions installed during the session are loaded by GNOME on Wayland at the next login.
    if (info.isEmpty()) {
        m_log.write(QStringLiteral("Quellory: GNOME Shell has not loaded the Quellory extension "
                                   "yet; it will at your next login, and until then only "
                                   "applications started in their own units are listed"));
        return;
    }
    if (isOff(info))
        enableExtension();
    else if (info.value(QStringLiteral("state")).toInt() != extensionEnabled)
        m_log.write(QStringLiteral("Quellory: GNOME Shell cannot run the Quellory extension: %1")
                        .arg(info.value(QStringLiteral("error")).toString()));
}

void GnomeShellWindows::enableExtension() {
    m_bus.send(QDBusMessage::createMethodCall(shellService, shellPath, extensionsInterface,
                                              QStringLiteral("EnableExtension"))
               << extensionUuid);
}

void GnomeShellWindows::setWindows(std::vector<ClientWindow> windows) {
    if (windows == m_windows)
        return;
    m_windows = std::move(windows);
    emit windowsChanged();
}
