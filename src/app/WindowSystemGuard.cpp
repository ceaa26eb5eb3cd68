#include "WindowSystemGuard.h"

#include <cstdio>
#include <cstdlib>

WindowSystemGuard::WindowSystemGuard() {
    s_previous = qInstallMessageHandler(&WindowSystemGuard::hold);
}

WindowSystemGuard::~WindowSystemGuard() {
    qInstallMessageHandler(s_previous);
    for (const Held &held : std::exchange(s_held, {})) {
        const QMessageLogContext context(nullptr, 0, nullptr, held.category.constData());
        s_previous(held.type, context, held.message);
    }
}

void WindowSystemGuard::hold(QtMsgType type, const QMessageLogContext &context,
                             const QString &message) {
    if (type != QtFatalMsg) {
        s_held.append({type, QByteArray(context.category), message});
        return;
    }
    std::fprintf(stderr,
                 "Quellory: cannot open its window: no display could be reached "
                 "(DISPLAY=%s, WAYLAND_DISPLAY=%s)\n",
                 qgetenv("DISPLAY").constData(), qgetenv("WAYLAND_DISPLAY").constData());
    std::_Exit(EXIT_FAILURE);
}
