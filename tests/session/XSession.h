#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// A headless X session for the integration tests: Xvfb on a display it picks itself, with
// openbox as the window manager, and the programs a test starts in it. DISPLAY points at it
// while it lives; programs get the environment of the process as it was when the session began.
// Programs are started with their output sent to /dev/null and are never sent a signal: they end
// when they are asked to, or with the X server when the session goes.
class XSession {
public:
    XSession();
    ~XSession();
    XSession(const XSession &) = delete;
    XSession &operator=(const XSession &) = delete;

    // The server and the window manager are up.
    bool isReady() const { return m_isReady; }
    QString display() const { return m_display; }

    // Starts openbox, or asks the running one to leave as a user would from its menu; each
    // answers once the manager is up, or gone.
    bool startWindowManager();
    bool stopWindowManager();

    // Starts a program in the session, with these variables added to its environment; its pid,
    // or 0 when it could not start.
    qint64 start(const QString &program, const QStringList &arguments = {},
                 const QProcessEnvironment &extraEnvironment = {});
    // Runs a tool to its end; its standard output.
    QByteArray run(const QString &program, const QStringList &arguments);
    // Whether a process exists and has not ended.
    static bool isRunning(qint64 processIdentifier);

private:
    QProcessEnvironment m_environment;
    QProcess m_server;
    QString m_display;
    bool m_isReady = false;
};
