#pragma once

#include <functional>
#include <QString>

class QObject;

// The "quit" action that a GApplication exports on the session bus: the application's own Quit,
// which lets it ask about unsaved work as its menu command would. Nothing here waits for the
// application to answer.
class ApplicationQuitAction {
public:
    // Asks whether the application at busName and objectPath exports the action; answer runs on
    // the main thread once it replies, and never after context is gone.
    static void probe(const QString &busName, const QString &objectPath, QObject *context,
                      std::function<void(bool exportsQuit)> answer);
    // Activates the action; false when the request could not be sent.
    static bool activate(const QString &busName, const QString &objectPath);
};
