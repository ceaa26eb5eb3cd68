#pragma once

#include <QtGlobal>

class QMessageLogContext;
class QString;

// Qt warns on standard error about the broken SVG icons of other programs, about a session
// without XDG_RUNTIME_DIR and, on Wayland without a tray, about its own X11 tray fallback: nothing
// that a user of this program can act on. Those warnings are
// dropped; every other message, and the program's own "Quellory: …" lines, stay.
class QtMessageFilter final {
public:
    // Installed before the application object, so that the platform's start is filtered too.
    static void install();

private:
    static bool isNoise(const QMessageLogContext &context, const QString &message);
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message);
    static inline QtMessageHandler s_next = nullptr;
};
