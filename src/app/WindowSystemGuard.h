#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

// Holds Qt's messages back while the application connects to the window system. When no display
// can be reached, Qt would write several lines and abort; the user reads one line instead and the
// program ends with a failure status. Once connected, the held messages go out as they were.
class WindowSystemGuard {
public:
    WindowSystemGuard();
    ~WindowSystemGuard();
    WindowSystemGuard(const WindowSystemGuard &) = delete;
    WindowSystemGuard &operator=(const WindowSystemGuard &) = delete;

private:
    struct Held {
        QtMsgType type;
        QByteArray category;
        QString message;
    };

    static void hold(QtMsgType type, const QMessageLogContext &context, const QString &message);

    static inline QtMessageHandler s_previous = nullptr;
    static inline QList<Held> s_held;
};
