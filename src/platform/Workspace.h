#pragma once

#include "RunningApplication.h"

#include <functional>
#include <optional>
#include <QList>
#include <QObject>
#include <QString>

// The user's session as the platform sees it: which applications run, and launching them.
// Lives on the main thread; its signals are delivered there.
class Workspace : public QObject {
    Q_OBJECT
public:
    // Called once with the launch's outcome: no error, or the error's description. May run on
    // any thread.
    using OpenCompletion = std::function<void(const std::optional<QString> &error)>;

    using QObject::QObject;

    // The running applications of the session, in the workspace's own order.
    virtual QList<RunningApplicationPtr> runningApplications() = 0;
    // The handle of the application that a process belongs to, or none.
    virtual RunningApplicationPtr runningApplication(qint32 processIdentifier) = 0;
    // Where the installed application with this identifier lies, or none.
    virtual std::optional<QString> urlForApplication(const QString &bundleID) const = 0;
    // Launches the application at a location, or brings it forward when it already runs.
    virtual void openApplication(const QString &path, OpenCompletion completion) = 0;

signals:
    // An application came up; the handle may be null when the platform has none to give.
    void didLaunchApplication(const RunningApplicationPtr &application);
    void didTerminateApplication(const RunningApplicationPtr &application);
};
