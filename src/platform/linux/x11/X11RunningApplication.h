#pragma once

#include "ApplicationMatcher.h"
#include "ClientWindow.h"
#include "platform/RunningApplication.h"

#include <memory>
#include <optional>
#include <QObject>
#include <vector>

class QSocketNotifier;
class X11Connection;

// One process with windows on the X server, for as long as the process lives. It holds a pidfd,
// so its end is seen the moment it happens and a reused pid is never taken for it.
class X11RunningApplication final : public QObject, public RunningApplication {
    Q_OBJECT
public:
    // The handle of a running process; none when the process has already ended.
    static std::shared_ptr<X11RunningApplication>
    forProcess(qint32 processIdentifier, std::weak_ptr<X11Connection> connection);
    ~X11RunningApplication() override;

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
    bool exportsQuitAction() const { return !m_quitOwnerName.isEmpty(); }
    // The connection of the process's own that exports it, and where.
    void setQuitAction(const QString &ownerName, const QString &objectPath) {
        m_quitOwnerName = ownerName;
        m_quitObjectPath = objectPath;
    }

signals:
    // The process has ended.
    void ended();

private:
    X11RunningApplication(qint32 processIdentifier, int pidfd,
                          std::weak_ptr<X11Connection> connection);
    void markEnded();
    bool requestQuitAction() const;

    qint32 m_processIdentifier;
    int m_pidfd;
    QSocketNotifier *m_exitNotifier;
    std::weak_ptr<X11Connection> m_connection;
    std::vector<ClientWindow> m_windows;
    ApplicationMatcher::Match m_match;
    bool m_isTerminated = false;
    QString m_quitOwnerName;
    QString m_quitObjectPath;
    mutable std::optional<QImage> m_icon;
};
