#include "GnomeShellSession.h"

#include "SessionProcesses.h"

#include <csignal>
#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int startTimeoutMs = 30000;
constexpr uid_t user = 65534;
const QString extensionUuid = QStringLiteral("quellory@quellory.app");
const QString shellBusName = QStringLiteral("org.gnome.Shell");

// The session bus as dbus-run-session would start it, with a socket the test can find and root,
// which the test runs as, let in beside the session's user.
QByteArray busConfiguration(const QString &socket) {
    return QStringLiteral(
               R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1</listen>
  <auth>EXTERNAL</auth>
  <standard_session_servicedirs/>
  <policy context="default">
    <allow user="root"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)")
        .arg(socket)
        .toUtf8();
}

bool writeFile(const QString &path, const QByteArray &content) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

bool copyFolder(const QString &from, const QString &to) {
    if (!QDir().mkpath(to))
        return false;
    const QDir source(from);
    for (const QString &name : source.entryList(QDir::Files))
        if (!QFile::copy(source.filePath(name), to + QLatin1Char('/') + name))
            return false;
    return true;
}

bool giveToUser(const QString &folder) {
    bool given = ::chown(QFile::encodeName(folder).constData(), user, user) == 0;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        given = ::chown(QFile::encodeName(entries.next()).constData(), user, user) == 0 && given;
    return given;
}

// "mnt:[inode]", which names no file.
QByteArray mountNamespaceOf(const QString &process) {
    char target[64] = {};
    const QByteArray link = QFile::encodeName(process + QStringLiteral("/ns/mnt"));
    const ssize_t size = ::readlink(link.constData(), target, sizeof target - 1);
    return size > 0 ? QByteArray(target, size) : QByteArray();
}

bool isInUse(const QByteArray &mountNamespace) {
    const QDir proc(QStringLiteral("/proc"));
    for (const QString &process : proc.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (mountNamespaceOf(proc.filePath(process)) == mountNamespace)
            return true;
    }
    return false;
}

} // namespace

// The folder lies outside /tmp, which the namespace replaces with the session's own.
GnomeShellSession::GnomeShellSession(Extension extension)
    : m_folder(QStringLiteral("/var/tmp/quellory-gnome-XXXXXX")),
      m_busName(QStringLiteral("gnome-shell-session-%1").arg(quintptr(this))) {
    const QString display =
        QStringLiteral("quellory-gnome-%1").arg(QCoreApplication::applicationPid());
    const QString home = m_folder.filePath(QStringLiteral("home"));
    m_environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
    m_environment.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    m_environment.insert(QStringLiteral("HOME"), home);
    m_environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
    m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    m_environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"),
                         m_folder.filePath(QStringLiteral("runtime")));
    m_environment.insert(QStringLiteral("WAYLAND_DISPLAY"), display);
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                         QStringLiteral("unix:path=") +
                             m_folder.filePath(QStringLiteral("runtime/bus")));
    m_environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("GNOME"));
    m_environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    m_environment.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    m_environment.insert(QStringLiteral("NO_AT_BRIDGE"), QStringLiteral("1"));
    m_environment.insert(QStringLiteral("GIO_USE_VFS"), QStringLiteral("local"));
    // The user's login shell is nologin; a terminal needs one that stays.
    m_environment.insert(QStringLiteral("SHELL"), QStringLiteral("/bin/sh"));
    if (!prepareFolder(extension))
        return;

    // The shell makes the Wayland display; with one named, it would try to be a window in it.
    QProcessEnvironment shellEnvironment = m_environment;
    shellEnvironment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    m_namespace.setProcessEnvironment(shellEnvironment);
    m_namespace.setStandardOutputFile(m_folder.filePath(QStringLiteral("shell.log")));
    m_namespace.setProcessChannelMode(QProcess::MergedChannels);
    m_namespace.start(QStringLiteral("unshare"),
                      {QStringLiteral("--mount"), QStringLiteral("--net"), QStringLiteral("--"),
                       QStringLiteral(QUELLORY_GNOME_SESSION_SCRIPT), m_folder.path(), display});
    m_isReady = m_namespace.waitForStarted() && waitForShell() &&
                waitForExtensions(extension == Extension::installed) && findXwayland();
    // What the shell said is the one clue to why it did not come up.
    if (!m_isReady)
        qWarning("GNOME Shell did not come up:\n%s", qPrintable(readLog()));
}

QString GnomeShellSession::readLog() const {
    QFile log(m_folder.filePath(QStringLiteral("shell.log")));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll().right(4000)) : QString();
}

GnomeShellSession::~GnomeShellSession() {
    stopShell();
    QDBusConnection::disconnectFromBus(m_busName);
}

bool GnomeShellSession::prepareFolder(Extension extension) {
    const QString tmp = m_folder.filePath(QStringLiteral("tmp"));
    const QString runtime = m_folder.filePath(QStringLiteral("runtime"));
    const QString home = m_folder.filePath(QStringLiteral("home"));
    return m_folder.isValid() &&
           QFile::setPermissions(m_folder.path(), QFile::ReadOwner | QFile::WriteOwner |
                                                      QFile::ExeOwner | QFile::ReadOther |
                                                      QFile::ExeOther) &&
           QDir().mkpath(tmp) && ::chmod(QFile::encodeName(tmp).constData(), 01777) == 0 &&
           QDir().mkpath(runtime) &&
           QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) &&
           (extension == Extension::absent ||
            copyFolder(QStringLiteral(QUELLORY_EXTENSION_DIR),
                       home + QStringLiteral("/.local/share/gnome-shell/extensions/") +
                           extensionUuid)) &&
           QDir().mkpath(home) && giveToUser(home) && giveToUser(runtime) &&
           writeFile(m_folder.filePath(QStringLiteral("session-bus.conf")),
                     busConfiguration(runtime + QStringLiteral("/bus")));
}

QDBusConnection GnomeShellSession::bus() const {
    return QDBusConnection(m_busName);
}

bool GnomeShellSession::waitForShell() {
    const QString address = m_environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    return waitUntil(startTimeoutMs,
                     [&] {
                         if (m_namespace.state() == QProcess::NotRunning)
                             return true;
                         if (!bus().isConnected()) {
                             QDBusConnection::disconnectFromBus(m_busName);
                             QDBusConnection::connectToBus(address, m_busName);
                         }
                         return bus().isConnected() &&
                                bus().interface()->isServiceRegistered(shellBusName).value();
                     }) &&
           m_namespace.state() == QProcess::Running;
}

// The shell owns its name before it answers about extensions, and before it has read those in
// the home folder.
bool GnomeShellSession::waitForExtensions(bool isInstalled) {
    const auto info =
        QDBusMessage::createMethodCall(shellBusName, QStringLiteral("/org/gnome/Shell"),
                                       QStringLiteral("org.gnome.Shell.Extensions"),
                                       QStringLiteral("GetExtensionInfo"))
        << extensionUuid;
    return waitUntil(startTimeoutMs, [&] {
        const QDBusReply<QVariantMap> reply = bus().call(info);
        return reply.isValid() && reply.value().isEmpty() != isInstalled;
    });
}

// Xwayland takes display :0 in the session's own /tmp; its clients need the key the shell wrote.
bool GnomeShellSession::findXwayland() {
    const QDir runtime(m_environment.value(QStringLiteral("XDG_RUNTIME_DIR")));
    const QStringList keys =
        runtime.entryList({QStringLiteral(".mutter-Xwaylandauth.*")}, QDir::Files | QDir::Hidden);
    if (keys.isEmpty())
        return false;
    m_environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    m_environment.insert(QStringLiteral("XAUTHORITY"), runtime.filePath(keys.front()));
    return true;
}

qint64 GnomeShellSession::start(const QString &program, const QStringList &arguments,
                                const QProcessEnvironment &extraEnvironment) {
    if (m_namespace.state() != QProcess::Running)
        return 0;
    QProcessEnvironment environment = m_environment;
    environment.insert(extraEnvironment);
    // Neither tool forks: the pid started is the program's own.
    return startDetached(
        QStringLiteral("nsenter"),
        QStringList{QStringLiteral("--target"), QString::number(m_namespace.processId()),
                    QStringLiteral("--mount"), QStringLiteral("--net"), QStringLiteral("setpriv"),
                    QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                    QStringLiteral("--clear-groups"), QStringLiteral("--"), program} +
            arguments,
        environment);
}

bool GnomeShellSession::stopShell() {
    if (m_namespace.state() == QProcess::NotRunning)
        return true;
    const QByteArray mountNamespace =
        mountNamespaceOf(QStringLiteral("/proc/%1").arg(m_namespace.processId()));
    const QDBusReply<uint> shell = bus().interface()->servicePid(shellBusName);
    if (shell.isValid())
        ::kill(pid_t(shell.value()), SIGTERM);
    // Helpers of the shell and its programs may outlive it for a moment, and would write into
    // the folder after it is gone.
    return m_namespace.waitForFinished(startTimeoutMs) &&
           waitUntil(startTimeoutMs, [&] { return !isInUse(mountNamespace); });
}
