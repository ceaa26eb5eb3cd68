#include "XSession.h"

#include "SessionProcesses.h"

#include <algorithm>
#include <memory>
#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <xcb/xcb.h>

namespace {

constexpr int startTimeoutMs = 10000;

// A manager that left has its property stay on the root; only its own window tells it runs.
bool hasWindowManager(XSession &session) {
    const QString property = QStringLiteral("_NET_SUPPORTING_WM_CHECK");
    const QByteArray root =
        session.run(QStringLiteral("xprop"), {QStringLiteral("-root"), property});
    if (!root.contains("window id"))
        return false;
    const QString check = QString::fromLatin1(root.mid(root.lastIndexOf(' ') + 1).trimmed());
    return session.run(QStringLiteral("xprop"), {QStringLiteral("-id"), check, property})
        .contains("window id");
}

// openbox announces itself before it has finished starting, and windows mapped in that gap stay
// unmanaged for good: it is ready once it takes a window of ours under its management.
bool managesNewWindows() {
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), xcb_disconnect);
    xcb_connection_t *c = connection.get();
    if (xcb_connection_has_error(c))
        return false;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const char name[] = "_NET_CLIENT_LIST";
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> clientList(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr), free);
    if (!clientList)
        return false;
    const xcb_window_t probe = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, probe, screen->root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_map_window(c, probe);
    QDeadlineTimer deadline(500);
    while (!deadline.hasExpired()) {
        std::unique_ptr<xcb_get_property_reply_t, decltype(&free)> reply(
            xcb_get_property_reply(c,
                                   xcb_get_property(c, 0, screen->root, clientList->atom,
                                                    XCB_ATOM_WINDOW, 0, UINT32_MAX / 4),
                                   nullptr),
            free);
        const auto *windows =
            reply ? static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()))
                  : nullptr;
        const int count = reply ? xcb_get_property_value_length(reply.get()) / 4 : 0;
        if (std::find(windows, windows + count, probe) != windows + count)
            return true;
        QThread::msleep(5);
    }
    return false;
}

bool waitFor(XSession &session, bool isRunning) {
    return waitUntil(startTimeoutMs, [&] { return hasWindowManager(session) == isRunning; });
}

} // namespace

// Programs get no accessibility bus and no dconf, which a headless session has not got and
// which would slow GTK programs down.
XSession::XSession() : m_environment(QProcessEnvironment::systemEnvironment()) {
    m_environment.insert(QStringLiteral("NO_AT_BRIDGE"), QStringLiteral("1"));
    m_environment.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    // Xvfb picks a free display and writes its number to the descriptor named by -displayfd.
    // It takes clients on TCP too (DISPLAY=localhost:N), whose pid it cannot tell.
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("1280x800x24"), QStringLiteral("-listen"),
                    QStringLiteral("tcp")});
    QDeadlineTimer deadline(startTimeoutMs);
    while (!m_server.canReadLine() && m_server.state() != QProcess::NotRunning &&
           !deadline.hasExpired())
        m_server.waitForReadyRead(100);
    const QByteArray number = m_server.readLine().trimmed();
    if (number.isEmpty())
        return;
    m_display = QStringLiteral(":") + QString::fromLatin1(number);
    qputenv("DISPLAY", m_display.toLatin1());
    m_environment.insert(QStringLiteral("DISPLAY"), m_display);
    m_isReady = startWindowManager();
}

XSession::~XSession() {
    // Ending the server ends every program that was connected to it.
    m_server.terminate();
    m_server.waitForFinished(startTimeoutMs);
}

bool XSession::startWindowManager() {
    return start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")}) &&
           waitFor(*this, true) && waitUntil(startTimeoutMs, managesNewWindows, 0);
}

bool XSession::stopWindowManager() {
    run(QStringLiteral("openbox"), {QStringLiteral("--exit")});
    return waitFor(*this, false);
}

qint64 XSession::start(const QString &program, const QStringList &arguments,
                       const QProcessEnvironment &extraEnvironment) {
    QProcessEnvironment environment = m_environment;
    environment.insert(extraEnvironment);
    return startDetached(program, arguments, environment);
}

QByteArray XSession::run(const QString &program, const QStringList &arguments) {
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    process.waitForFinished(startTimeoutMs);
    return process.readAllStandardOutput();
}

bool XSession::isRunning(qint64 processIdentifier) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(processIdentifier));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    const qsizetype nameEnd = text.lastIndexOf(')');
    return nameEnd > 0 && nameEnd + 2 < text.size() && text.at(nameEnd + 2) != 'Z';
}
