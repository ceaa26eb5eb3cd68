#include "X11RunningApplication.h"

#include "ApplicationQuitAction.h"
#include "ProcessFacts.h"
#include "X11Connection.h"

#include <algorithm>
#include <cstdlib>
#include <QSocketNotifier>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int iconSize = 32;

int openPidfd(qint32 processIdentifier) {
    return int(syscall(SYS_pidfd_open, processIdentifier, 0));
}

// _NET_WM_ICON holds images one after another: width, height, then ARGB pixels. The one nearest
// the size we draw wins, the larger on a tie.
QImage bestIcon(const std::uint32_t *data, size_t count) {
    const std::uint32_t *best = nullptr;
    long bestDistance = 0;
    for (size_t at = 0; at + 2 <= count;) {
        const std::uint32_t width = data[at], height = data[at + 1];
        const size_t pixels = size_t(width) * height;
        if (width == 0 || height == 0 || pixels > count - at - 2)
            break;
        const long distance = std::abs(long(width) - iconSize) * 2 - (long(width) >= iconSize);
        if (!best || distance < bestDistance) {
            best = data + at;
            bestDistance = distance;
        }
        at += 2 + pixels;
    }
    if (!best)
        return {};
    QImage image{int(best[0]), int(best[1]), QImage::Format_ARGB32};
    for (int y = 0; y < image.height(); ++y)
        std::copy_n(best + 2 + size_t(y) * best[0], best[0],
                    reinterpret_cast<std::uint32_t *>(image.scanLine(y)));
    return image.scaled(iconSize, iconSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

std::shared_ptr<X11RunningApplication>
X11RunningApplication::forProcess(qint32 processIdentifier,
                                  std::weak_ptr<X11Connection> connection) {
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
    return std::shared_ptr<X11RunningApplication>(
        new X11RunningApplication(processIdentifier, pidfd, std::move(connection)));
}

X11RunningApplication::X11RunningApplication(qint32 processIdentifier, int pidfd,
                                             std::weak_ptr<X11Connection> connection)
    : m_processIdentifier(processIdentifier), m_pidfd(pidfd),
      m_exitNotifier(new QSocketNotifier(pidfd, QSocketNotifier::Read, this)),
      m_connection(std::move(connection)), m_match{
                                               {}, {}, {}, ApplicationMatcher::Rule::windowClass} {
    connect(m_exitNotifier, &QSocketNotifier::activated, this, &X11RunningApplication::markEnded);
}

X11RunningApplication::~X11RunningApplication() {
    delete m_exitNotifier;
    close(m_pidfd);
}

void X11RunningApplication::markEnded() {
    m_exitNotifier->setEnabled(false);
    m_isTerminated = true;
    emit ended();
}

RunningApplication::ActivationPolicy X11RunningApplication::activationPolicy() const {
    const bool hasOrdinaryWindow = std::any_of(m_windows.begin(), m_windows.end(),
                                               [](const ClientWindow &w) { return w.isOrdinary; });
    return hasOrdinaryWindow ? ActivationPolicy::Regular : ActivationPolicy::Accessory;
}

void X11RunningApplication::update(std::vector<ClientWindow> windows,
                                   ApplicationMatcher::Match match) {
    m_windows = std::move(windows);
    m_match = std::move(match);
}

QImage X11RunningApplication::icon() const {
    if (m_icon)
        return *m_icon;
    const auto connection = m_connection.lock();
    if (!connection || !connection->isAlive())
        return {};
    std::vector<xcb_get_property_cookie_t> cookies;
    for (const ClientWindow &window : m_windows)
        cookies.push_back(xcb_get_property(connection->raw(), 0, window.id,
                                           connection->atoms().netWmIcon, XCB_ATOM_CARDINAL, 0,
                                           UINT32_MAX / 4));
    connection->awaitReplies();
    QImage icon;
    for (const auto cookie : cookies) {
        const auto reply = connection->reply(xcb_get_property_reply, cookie);
        if (icon.isNull() && reply && reply->format == 32)
            icon = bestIcon(static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get())),
                            size_t(xcb_get_property_value_length(reply.get())) / 4);
    }
    m_icon = icon;
    return icon;
}

bool X11RunningApplication::terminate() {
    if (m_isTerminated)
        return false;
    if (requestQuitAction())
        return true;
    const auto connection = m_connection.lock();
    if (!connection || !connection->isAlive())
        return false;
    bool wasSent = false;
    for (const ClientWindow &window : m_windows) {
        if (!window.acceptsDelete)
            continue;
        connection->requestClose(window.id);
        wasSent = true;
    }
    connection->flush();
    return wasSent;
}

bool X11RunningApplication::requestQuitAction() const {
    return exportsQuitAction() &&
           ApplicationQuitAction::activate(m_quitOwnerName, m_quitObjectPath);
}
