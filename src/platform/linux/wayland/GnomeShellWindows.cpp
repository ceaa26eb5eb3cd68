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

std::vector<GnomeShellWindows::Window> windowsOf(const QDBusMessage &reply) {
    std::vector<GnomeShellWindows::Window> windows;
    // Anyone may own the name; only a reply of the extension's own shape is read.
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != windowListSignature)
        return windows;
    const auto list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        GnomeShellWindows::Window window;
        QString clientType;
        list.beginStructure();
        list >> window.id >> window.shellAppId >> window.processIdentifier >> window.title >>
            window.windowClass >> clientType >> window.isSkipTaskbar >> window.type;
        list.endStructure();
        window.isWayland = clientType == QLatin1String("wayland");
        windows.push_back(std::move(window));
    }
    list.endArray();
    return windows;
}

} // namespace

const QString GnomeShellWindows::extensionUuid = QStringLiteral("quellory@quellory.app");

QString GnomeShellWindows::Window::desktopFileId() const {
    const QString suffix = QStringLiteral(".desktop");
    if (!shellAppId.endsWith(suffix))
        return {};
    return shellAppId.chopped(suffix.size());
}

GnomeShellWindows::GnomeShellWindows(QDBusConnection bus, SystemLog &log, QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_log(log) {
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
    if (m_bus.isConnected() && m_bus.interface()->isServiceRegistered(extensionService))
        extensionAppeared();
    else
        startExtension();
}

bool GnomeShellWindows::close(quint64 id) {
    const auto window = std::find_if(m_windows.begin(), m_windows.end(),
                                     [id](const Window &candidate) { return candidate.id == id; });
    // Mutter kills an X11 client that cannot be asked: those are closed over X11.
    return window != m_windows.end() && window->isWayland && call(QStringLiteral("Close"), id);
}

void GnomeShellWindows::activate(quint64 id) {
    call(QStringLiteral("Activate"), id);
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
            setWindows(windowsOf(watcher->reply()));
    });
}

void GnomeShellWindows::extensionAppeared() {
    m_isServing = true;
    reload();
}

void GnomeShellWindows::extensionVanished() {
    if (!m_isServing)
        return;
    m_isServing = false;
    setWindows({});
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

void GnomeShellWindows::answerExtensionInfo(const QVariantMap &info) {
    // Extensions installed during the session are loaded by GNOME on Wayland at the next login.
    if (info.isEmpty()) {
        m_log.write(QStringLiteral("Quellory: GNOME Shell has not loaded the Quellory extension "
                                   "yet; it will at your next login, and until then only "
                                   "applications started in their own units are listed"));
        return;
    }
    const int state = info.value(QStringLiteral("state")).toInt();
    if (state == extensionEnabled)
        return;
    if (state != extensionDisabled && state != extensionInitialized) {
        m_log.write(QStringLiteral("Quellory: GNOME Shell cannot run the Quellory extension: %1")
                        .arg(info.value(QStringLiteral("error")).toString()));
        return;
    }
    m_bus.send(QDBusMessage::createMethodCall(shellService, shellPath, extensionsInterface,
                                              QStringLiteral("EnableExtension"))
               << extensionUuid);
}

void GnomeShellWindows::setWindows(std::vector<Window> windows) {
    if (windows == m_windows)
        return;
    m_windows = std::move(windows);
    emit windowsChanged();
}
