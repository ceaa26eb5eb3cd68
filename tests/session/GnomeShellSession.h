#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// A headless GNOME Shell for the integration tests, on a Wayland display of its own, with
// Quellory's shell extension installed in its user's home, or not. The shell and the
// programs a test starts in it run as an unprivileged user in a private mount and network
// namespace (their own /tmp, a private system bus, no logind); the test reaches the session bus,
// which lets root in, through bus(). Programs' output goes to /dev/null; they end when they are
// asked to, or with the shell.
class GnomeShellSession {
public:
    // Whether the extension is installed, off as a fresh install leaves it, when the shell starts.
    enum class Extension { absent, installed };

    explicit GnomeShellSession(Extension extension);
    ~GnomeShellSession();
    GnomeShellSession(const GnomeShellSession &) = delete;
    GnomeShellSession &operator=(const GnomeShellSession &) = delete;

    // The shell runs, and knows of the extension if it is installed.
    bool isReady() const { return m_isReady; }
    QDBusConnection bus() const;
    // The environment a program of the session sees, X11 programs on Xwayland included.
    QProcessEnvironment environment() const { return m_environment; }

    // Starts a program as the session's user, with these variables added to its environment;
    // its pid, or 0 when it could not start.
    qint64 start(const QString &program, const QStringList &arguments = {},
                 const QProcessEnvironment &extraEnvironment = {});
    // Asks the shell to end, as a logout would; answers once it has gone.
    bool stopShell();

private:
    bool prepareFolder(Extension extension);
    bool waitForShell();
    bool waitForExtensions(bool isInstalled);
    bool findXwayland();
    QString readLog() const;

    QTemporaryDir m_folder;
    QString m_busName;
    QProcessEnvironment m_environment;
    QProcess m_namespace;
    bool m_isReady = false;
};
