#include "LinuxSession.h"

#include "platform/SystemLog.h"
#include "SessionWorkspace.h"
#include "X11WindowSource.h"

bool LinuxSession::isWayland() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qgetenv("XDG_SESSION_TYPE") == "wayland";
}

std::unique_ptr<SessionWorkspace> LinuxSession::workspace(const ApplicationBundles &bundles,
                                                          SystemLog &log, QThreadPool &launchPool) {
    auto workspace = std::make_unique<SessionWorkspace>(bundles, launchPool);
    if (!isWayland()) {
        workspace->addSource(
            std::make_unique<X11WindowSource>(log, X11WindowSource::Server::session));
    } else {
        // Xwayland's programs come first: they are read and closed through the X11 code.
        if (!qEnvironmentVariableIsEmpty("DISPLAY"))
            workspace->addSource(
                std::make_unique<X11WindowSource>(log, X11WindowSource::Server::xwayland));
        log.write(QStringLiteral("Quellory: the Wayland compositor offers no window list that "
                                 "Quellory can read; only X11 programs are listed"));
    }
    workspace->start();
    return workspace;
}
