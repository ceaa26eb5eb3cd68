#include "LinuxSession.h"

#include "ApplicationUnits.h"
#include "GnomeShellWindows.h"
#include "PlasmaWindowSource.h"
#include "platform/ApplicationBundles.h"
#include "platform/SystemLog.h"
#include "SessionWorkspace.h"
#include "WaylandConnection.h"
#include "WlrForeignToplevelSource.h"
#include "X11WindowSource.h"

namespace {

// GNOME's windows through Quellory's shell extension; until the shell has loaded it, the
// applications that GNOME started in units of their own.
void addGnomeSources(SessionWorkspace &workspace, const ApplicationBundles &bundles,
                     SystemLog &log) {
    auto shell = std::make_unique<GnomeShellWindows>(QDBusConnection::sessionBus(), log);
    auto units = std::make_unique<ApplicationUnits>(
        [&bundles](const QString &id) { return bundles.pathForBundleIdentifier(id).has_value(); });
    units->setEnabled(!shell->isServing());
    QObject::connect(
        shell.get(), &GnomeShellWindows::servingChanged, units.get(),
        [shell = shell.get(), units = units.get()] { units->setEnabled(!shell->isServing()); });
    workspace.addSource(std::move(shell));
    workspace.addSource(std::move(units));
}

// The compositor's windows through the first protocol it offers that we speak.
std::unique_ptr<WindowSource> compositorSource(SystemLog &log) {
    std::shared_ptr<WaylandConnection> connection = WaylandConnection::open();
    if (!connection) {
        log.write(QStringLiteral("Quellory: cannot connect to the Wayland compositor at "
                                 "WAYLAND_DISPLAY=%1; only X11 programs are listed")
                      .arg(qEnvironmentVariable("WAYLAND_DISPLAY")));
        return nullptr;
    }
    if (auto plasma = PlasmaWindowSource::listen(connection, log))
        return plasma;
    if (auto wlroots = WlrForeignToplevelSource::listen(connection, log))
        return wlroots;
    log.write(QStringLiteral("Quellory: the Wayland compositor offers no window list that "
                             "Quellory can read; only X11 programs are listed"));
    return nullptr;
}

} // namespace

bool LinuxSession::isGnome() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP")
        .split(QLatin1Char(':'))
        .contains(QLatin1String("GNOME"));
}

bool LinuxSession::isWayland() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qgetenv("XDG_SESSION_TYPE") == "wayland";
}

std::unique_ptr<SessionWorkspace> LinuxSession::workspace(const ApplicationBundles &bundles,
                                                          SystemLog &log, QThreadPool &launchPool) {
    auto workspace = std::make_unique<SessionWorkspace>(bundles, launchPool);
    connect(*workspace, bundles, log);
    return workspace;
}

void LinuxSession::connect(SessionWorkspace &workspace, const ApplicationBundles &bundles,
                           SystemLog &log) {
    if (!isWayland()) {
        workspace.addSource(
            std::make_unique<X11WindowSource>(log, X11WindowSource::Server::session));
    } else {
        // Xwayland's programs come first: they are read and closed through the X11 code.
        if (!qEnvironmentVariableIsEmpty("DISPLAY"))
            workspace.addSource(
                std::make_unique<X11WindowSource>(log, X11WindowSource::Server::xwayland));
        if (isGnome())
            addGnomeSources(workspace, bundles, log);
        else if (auto compositor = compositorSource(log))
            workspace.addSource(std::move(compositor));
    }
    workspace.start();
}
