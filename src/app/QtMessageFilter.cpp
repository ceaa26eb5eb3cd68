#include "QtMessageFilter.h"

#include <QString>

void QtMessageFilter::install() {
    s_next = qInstallMessageHandler(&QtMessageFilter::handle);
}

bool QtMessageFilter::isNoise(const QMessageLogContext &context, const QString &message) {
    // Qt's X11 tray fallback looks for a signal that its Wayland platform does not have.
    return qstrcmp(context.category, "qt.svg") == 0 ||
           message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")) ||
           message.contains(QLatin1String("QPlatformNativeInterface::systemTrayWindowChanged"));
}

void QtMessageFilter::handle(QtMsgType type, const QMessageLogContext &context,
                             const QString &message) {
    if (!isNoise(context, message))
        s_next(type, context, message);
}
