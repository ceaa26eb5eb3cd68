#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// A Wayland compositor started headless for the integration tests, with its Xwayland, and the
// programs a test starts in it. Compositors refuse to run as root: as root, the compositor and
// every program run as an unprivileged user (nobody), in a private runtime folder that user
// owns. This process reaches the compositor through the variables it sets for itself
// (WAYLAND_DISPLAY, DISPLAY, XDG_RUNTIME_DIR). Run the test in a private mount and network
// namespace with its own /tmp (tests/session/private-tmp.sh), so that the Xwayland display it
// picks never meets another's. Each compositor starts in its subclass.
class HeadlessCompositor {
public:
    virtual ~HeadlessCompositor();
    HeadlessCompositor(const HeadlessCompositor &) = delete;
    HeadlessCompositor &operator=(const HeadlessCompositor &) = delete;

    // The compositor and its Xwayland are up.
    bool isReady() const { return m_isReady; }
    // The environment programs get in the session.
    const QProcessEnvironment &environment() const { return m_environment; }
    // Starts a program in the session as the session's user, with these variables added; its
    // pid, or 0. Its output goes to /dev/null.
    qint64 start(const QString &program, const QStringList &arguments = {},
                 const QProcessEnvironment &extraEnvironment = {});
    // Runs a tool in the session to its end; its standard output.
    QByteArray run(const QString &program, const QStringList &arguments);
    // Ends the compositor, and with it every program of the session.
    void stop();

protected:
    HeadlessCompositor();
    // Starts the compositor with the session's environment; true once its Wayland socket and
    // its Xwayland's X socket are there.
    bool launch(const QString &program, const QStringList &arguments);
    // A file in the private folder, owned by the session's user.
    QString writeFile(const QString &name, const QByteArray &contents);
    // The first file in the private folder whose name fits, once the compositor has made it.
    QString awaitFile(const QString &pattern);
    // Sets a variable for the session's programs and for this process alike.
    void share(const char *name, const QString &value);
    QString folder() const { return m_folder.path(); }

private:
    void prepare(QProcess &process, const QString &program, const QStringList &arguments,
                 const QProcessEnvironment &environment) const;

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    QProcess m_compositor;
    bool m_isReady = false;
};
