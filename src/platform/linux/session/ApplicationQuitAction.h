#pragma once

#include <functional>
#include <QString>

class QObject;

// The "quit" action that a GApplication exports on the session bus: the application's own Quit,
// which lets it ask about unsaved work as its menu command would. A window only states the name
// and path where its application exports it, and any window can state another program's: the
// action is asked of a connection only when the bus itself says that the window's own process
// owns it. Nothing here waits for the application to answer.
class ApplicationQuitAction {
public:
    // Asks whether the process exports the action at busName and objectPath; answer runs on the
    // main thread with the unique name of its connection, once the bus and the application have
    // replied and only when both say so, and never after context is gone.
    static void probe(const QString &busName, const QString &objectPath, qint32 processIdentifier,
                      QObject *context, std::function<void(const QString &ownerName)> answer);
    // Activates the action on a connection that probe() named; false when the request could not
    // be sent.
    static bool activate(const QString &ownerName, const QString &objectPath);
};
