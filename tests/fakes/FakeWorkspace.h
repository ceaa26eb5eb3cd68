#pragma once

#include "FakeRunningApplication.h"
#include "platform/Workspace.h"

#include <QHash>

// A simulated session: the test sets which applications run, posts their launches and ends, and
// completes the launches asked of it when it chooses, with or without an error.
class FakeWorkspace final : public Workspace {
public:
    struct OpenRequest {
        QString path;
        OpenCompletion completion;
    };

    QList<RunningApplicationPtr> applications;
    QHash<QString, QString> installedPaths; // where an identifier's application lies
    QList<OpenRequest> openRequests;        // not yet completed, oldest first
    // Runs inside each openApplication call, before it returns.
    std::function<void(const QString &path)> onOpen;

    QList<RunningApplicationPtr> runningApplications() override { return applications; }
    RunningApplicationPtr runningApplication(qint32 processIdentifier) override {
        for (const auto &application : applications)
            if (application->processIdentifier() == processIdentifier)
                return application;
        return nullptr;
    }
    std::optional<QString> urlForApplication(const QString &bundleID) const override {
        return installedPaths.contains(bundleID) ? std::optional(installedPaths.value(bundleID))
                                                 : std::nullopt;
    }
    void openApplication(const QString &path, OpenCompletion completion) override {
        if (onOpen)
            onOpen(path);
        openRequests.append({path, std::move(completion)});
    }

    // The application joins the session, then its launch is posted.
    void launch(const RunningApplicationPtr &application) {
        applications.append(application);
        emit didLaunchApplication(application);
    }
    // Posts a launch for every application it lists, as a workspace may do with its first read.
    void announceRunning() {
        for (const auto &application : applications)
            emit didLaunchApplication(application);
    }
    // The application ends and leaves the session, then its end is posted.
    void end(const std::shared_ptr<FakeRunningApplication> &application) {
        application->terminated = true;
        applications.removeAll(application);
        emit didTerminateApplication(application);
    }
    // Takes the oldest launch request, for the test to complete on a thread of its choice.
    OpenCompletion takeOpenCompletion() { return openRequests.takeFirst().completion; }
};
