#pragma once

#include "ApplicationMatcher.h"
#include "ClientWindow.h"
#include "platform/RunningApplication.h"

#include <memory>
#include <optional>
#include <QObject>
#include <vector>

class QSocketNotifier;

// One process with top-level windows in the session, for as long as the process lives, whichever
// window systems its windows are on. It holds a pidfd, so its end is seen the moment it happens
// and a reused pid is never taken for it.
class SessionRunningApplication final : public QObject, public RunningApplication {
    Q_OBJECT
public:
    // The handle of a running process; none when the process has already ended.
    static std::shared_ptr<SessionRunningApplication> forProcess(qint32 processIdentifier);
    ~SessionRunningApplication() override;

    std::optional<QString> bundleIdentifier() const override { return m_match.bundleIdentifier; }
    std::optional<QString> localizedName() const override { return m_match.name; }
    qint32 processIdentifier() const override { return m_processIdentifier; }
    ActivationPolicy activationPolicy() const override;
    bool isTerminated() const override { return m_isTerminated; }
    std::optional<QString> bundlePath() const override { return m_match.path; }
    QImage icon() const override;
    bool terminate() override;

    const std::vector<ClientWindow> &windows() const { return m_windows; }
    const ApplicationMatcher::Match &match() const { return m_match; }
    // The workspace keeps the process's windows and what they tell current.
    void update(std::vector<ClientWindow> windows, ApplicationMatcher::Match match);
    // Whether the application has its own Quit on the session bus, as far as it has answered.
    bool exportsQuitAction() const { return m_exportsQuitAction; }
    void setExportsQuitAction(bool exportsQuit) { m_exportsQuitAction = exportsQuit; }

signals:
    // The process has ended.
    void ended();

private:
    SessionRunningApplication(qint32 processIdentifier, int pidfd);
    void markEnded();
    bool requestQuitAction() const;

    qint32 m_processIdentifier;
    int m_pidfd;
    QSocketNotifier *m_exitNotifier;
    std::vector<ClientWindow> m_windows;
    ApplicationMatcher::Match m_match;
    bool m_isTerminated = false;
    bool m_exportsQuitAction = false;
    mutable std::optional<QImage> m_icon;
};
