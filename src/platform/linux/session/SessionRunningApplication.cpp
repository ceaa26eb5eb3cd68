#include "SessionRunningApplication.h"

#include "ApplicationQuitAction.h"
#include "ProcessFacts.h"
#include "WindowSource.h"

#include <algorithm>
#include <QSocketNotifier>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int openPidfd(qint32 processIdentifier) {
    return int(syscall(SYS_pidfd_open, processIdentifier, 0));
}

} // namespace

std::shared_ptr<SessionRunningApplication>
SessionRunningApplication::forProcess(qint32 processIdentifier) {
    if (processIdentifier <= 0)
        return nullptr;
    const int pidfd = openPidfd(processIdentifier);
    if (pidfd < 0)
        return nullptr;
    // Checked after the pidfd is held, so that the answer is about this very process.
    if (!ProcessFacts::isRunning(processIdentifier)) {
        close(pidfd);
        return nullptr;
    }
    return std::shared_ptr<SessionRunningApplication>(
        new SessionRunningApplication(processIdentifier, pidfd));
}

SessionRunningApplication::SessionRunningApplication(qint32 processIdentifier, int pidfd)
    : m_processIdentifier(processIdentifier), m_pidfd(pidfd),
      m_exitNotifier(new QSocketNotifier(pidfd, QSocketNotifier::Read, this)),
      m_match{{}, {}, {}, ApplicationMatcher::Rule::windowClass} {
    connect(m_exitNotifier, &QSocketNotifier::activated, this,
            &SessionRunningApplication::markEnded);
}

SessionRunningApplication::~SessionRunningApplication() {
    delete m_exitNotifier;
    close(m_pidfd);
}

void SessionRunningApplication::markEnded() {
    m_exitNotifier->setEnabled(false);
    m_isTerminated = true;
    emit ended();
}

RunningApplication::ActivationPolicy SessionRunningApplication::activationPolicy() const {
    const bool hasOrdinaryWindow = std::any_of(m_windows.begin(), m_windows.end(),
                                               [](const ClientWindow &w) { return w.isOrdinary; });
    return hasOrdinaryWindow ? ActivationPolicy::Regular : ActivationPolicy::Accessory;
}

void SessionRunningApplication::update(std::vector<ClientWindow> windows,
                                       ApplicationMatcher::Match match) {
    m_windows = std::move(windows);
    m_match = std::move(match);
}

QImage SessionRunningApplication::icon() const {
    if (m_icon)
        return *m_icon;
    QImage icon;
    for (const ClientWindow &window : m_windows) {
        icon = window.source ? window.source->icon(window) : QImage();
        if (!icon.isNull())
            break;
    }
    m_icon = icon;
    return icon;
}

bool SessionRunningApplication::terminate() {
    if (m_isTerminated)
        return false;
    if (requestQuitAction())
        return true;
    bool wasSent = false;
    for (const ClientWindow &window : m_windows) {
        if (window.acceptsDelete && window.source)
            wasSent |= window.source->requestClose(window);
    }
    return wasSent;
}

bool SessionRunningApplication::requestQuitAction() const {
    if (!m_exportsQuitAction)
        return false;
    for (const ClientWindow &window : m_windows) {
        if (!window.gtkBusName.isEmpty() && !window.gtkObjectPath.isEmpty())
            return ApplicationQuitAction::activate(window.gtkBusName, window.gtkObjectPath);
    }
    return false;
}
