#include "HeadlessCompositor.h"

#include "SessionProcesses.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <unistd.h>

namespace {

constexpr int startTimeoutMs = 10000;
constexpr uid_t sessionUser = 65534;

bool isRoot() {
    return getuid() == 0;
}

// The command that runs a program as the session's user.
QStringList asSessionUser(const QString &program, const QStringList &arguments) {
    if (!isRoot())
        return QStringList{program} + arguments;
    return QStringList{QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                       QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups"), program} +
           arguments;
}

void makeOwn(const QString &path) {
    if (isRoot() && chown(QFile::encodeName(path).constData(), sessionUser, sessionUser) != 0)
        qWarning("cannot hand %s to the session's user", qPrintable(path));
}

} // namespace

HeadlessCompositor::HeadlessCompositor()
    : m_folder(QDir::tempPath() + QStringLiteral("/compositor-XXXXXX")),
      m_environment(QProcessEnvironment::systemEnvironment()) {
    QFile::setPermissions(m_folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    makeOwn(m_folder.path());
    // Programs get no accessibility bus and no dconf, which a headless session has not got.
    m_environment.insert(QStringLiteral("NO_AT_BRIDGE"), QStringLiteral("1"));
    m_environment.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    m_environment.insert(QStringLiteral("HOME"), m_folder.path());
    m_environment.remove(QStringLiteral("DISPLAY"));
    m_environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
}

HeadlessCompositor::~HeadlessCompositor() {
    stop();
}

bool HeadlessCompositor::launch(const QString &program, const QStringList &arguments) {
    const QStringList xSockets = QDir(QStringLiteral("/tmp/.X11-unix")).entryList(QDir::System);
    prepare(m_compositor, program, arguments, m_environment);
    m_compositor.start();
    const QString socket = awaitFile(QStringLiteral("wayland-[0-9]"));
    QString xSocket;
    QDeadlineTimer deadline(startTimeoutMs);
    while (xSocket.isEmpty() && !socket.isEmpty() && !deadline.hasExpired()) {
        for (const QString &name : QDir(QStringLiteral("/tmp/.X11-unix")).entryList(QDir::System))
            xSocket = xSockets.contains(name) ? xSocket : name;
        QThread::msleep(20);
    }
    if (socket.isEmpty() || xSocket.isEmpty())
        return false;
    share("WAYLAND_DISPLAY", QFileInfo(socket).fileName());
    share("DISPLAY", QStringLiteral(":") + xSocket.mid(1));
    share("XDG_RUNTIME_DIR", m_folder.path());
    // Xwayland lets in its own user only; this process reads its windows too. Starting xhost
    // is also what starts a lazy Xwayland.
    m_isReady = !isRoot() || run(QStringLiteral("xhost"), {QStringLiteral("+si:localuser:root")})
                                 .contains("localuser:root");
    return m_isReady;
}

QString HeadlessCompositor::writeFile(const QString &name, const QByteArray &contents) {
    const QString path = m_folder.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(contents);
    makeOwn(path);
    return path;
}

QString HeadlessCompositor::awaitFile(const QString &pattern) {
    QDeadlineTimer deadline(startTimeoutMs);
    while (!deadline.hasExpired() && m_compositor.state() != QProcess::NotRunning) {
        const QStringList found = QDir(folder()).entryList({pattern}, QDir::System | QDir::Files);
        if (!found.isEmpty())
            return QDir(folder()).filePath(found.front());
        QThread::msleep(20);
    }
    return {};
}

void HeadlessCompositor::share(const char *name, const QString &value) {
    m_environment.insert(QLatin1String(name), value);
    qputenv(name, value.toLocal8Bit());
}

void HeadlessCompositor::prepare(QProcess &process, const QString &program,
                                 const QStringList &arguments,
                                 const QProcessEnvironment &environment) const {
    QStringList command = asSessionUser(program, arguments);
    process.setProgram(command.takeFirst());
    process.setArguments(command);
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
}

qint64 HeadlessCompositor::start(const QString &program, const QStringList &arguments,
                                 const QProcessEnvironment &extraEnvironment) {
    QProcessEnvironment environment = m_environment;
    environment.insert(extraEnvironment);
    // setpriv runs the program in its own place: the pid is the program's.
    const QStringList command = asSessionUser(program, arguments);
    return startDetached(command.first(), command.mid(1), environment);
}

QByteArray HeadlessCompositor::run(const QString &program, const QStringList &arguments) {
    QProcess process;
    prepare(process, program, arguments, m_environment);
    process.setStandardOutputFile(QString());
    process.setReadChannel(QProcess::StandardOutput);
    process.start();
    process.waitForFinished(startTimeoutMs);
    return process.readAllStandardOutput();
}

void HeadlessCompositor::stop() {
    if (m_compositor.state() == QProcess::NotRunning)
        return;
    m_compositor.terminate();
    m_compositor.waitForFinished(startTimeoutMs);
}
