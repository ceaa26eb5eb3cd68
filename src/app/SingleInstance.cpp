#include "SingleInstance.h"

#include <cerrno>
#include <fcntl.h>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QSysInfo>
#include <QThread>
#include <QTimer>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int connectTimeoutMs = 2000;
constexpr int answerTimeoutMs = 2000;
// A request is one short line from a process of the user's, taken in well under a second; a
// handful at a time is plenty, and keeps the connections far below the limit of open files.
constexpr qint64 requestLimit = 64;
constexpr int clientLifetimeMs = 1000;
constexpr int clientLimit = 8;
const QByteArray reopen = QByteArrayLiteral("reopen\n");

// A folder that only this user may enter, made when missing. A name that another user or a link
// took first is not this user's.
bool isPrivateFolder(const QString &path) {
    const QByteArray name = QFile::encodeName(path);
    mkdir(name.constData(), 0700);
    struct stat status {};
    return lstat(name.constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & 0077) == 0;
}

bool isSameUser(qintptr socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(int(socket), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == geteuid();
}

void drop(QLocalSocket *client) {
    client->abort();
    client->deleteLater();
}

} // namespace

QString SingleInstance::sessionSocketName() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && isPrivateFolder(runtime))
        return runtime + QStringLiteral("/app.quellory.Quellory.socket");
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QString folder = cache + QStringLiteral("/app.quellory.Quellory");
    if (!QDir().mkpath(cache) || !isPrivateFolder(folder))
        return {};
    // A home shared by several machines holds a socket for each.
    return folder + QLatin1Char('/') + QSysInfo::machineHostName() + QStringLiteral(".socket");
}

SingleInstance::SingleInstance(QString name, QObject *parent)
    : QObject(parent), m_name(std::move(name)) {}

SingleInstance::~SingleInstance() {
    if (m_lock >= 0)
        close(m_lock);
}

bool SingleInstance::reachRunningInstance() {
    if (m_name.isEmpty())
        return false;
    // The lock goes with the process, whatever way it ends; programs it starts do not inherit it.
    m_lock = open(QFile::encodeName(m_name + QStringLiteral(".lock")).constData(),
                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    // A lock that cannot be had decides nothing: this process then runs on its own.
    if (m_lock < 0)
        return false;
    if (flock(m_lock, LOCK_EX | LOCK_NB) == 0) {
        listen();
        return false;
    }
    const bool isHeld = errno == EWOULDBLOCK;
    close(std::exchange(m_lock, -1));
    if (isHeld)
        askRunningInstance();
    return isHeld;
}

void SingleInstance::askRunningInstance() const {
    // The instance may have taken the lock a moment ago and not listen yet; once it listens,
    // the request waits in the socket until it is free to read it.
    QLocalSocket socket;
    const QDeadlineTimer deadline(connectTimeoutMs);
    socket.connectToServer(m_name);
    while (!socket.waitForConnected(int(deadline.remainingTime())) && !deadline.hasExpired()) {
        QThread::msleep(50);
        socket.connectToServer(m_name);
    }
    if (socket.state() != QLocalSocket::ConnectedState)
        return;
    socket.write(reopen);
    if (socket.waitForBytesWritten(answerTimeoutMs))
        socket.waitForReadyRead(answerTimeoutMs);
}

void SingleInstance::listen() {
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // Holding the lock, this process may take over what a crashed instance left behind.
    QLocalServer::removeServer(m_name);
    m_server->listen(m_name);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection())
            accept(client);
    });
}

void SingleInstance::accept(QLocalSocket *client) {
    if (!isSameUser(client->socketDescriptor()))
        return drop(client);
    // A new peer sends its request at once: the one that has waited longest has shown none.
    if (m_clients.size() >= clientLimit)
        drop(m_clients.takeFirst());
    m_clients.append(client);
    connect(client, &QObject::destroyed, this, [this, client] { m_clients.removeOne(client); });
    client->setReadBufferSize(requestLimit);
    connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    connect(client, &QLocalSocket::readyRead, this, [this, client] { read(client); });
    QTimer::singleShot(clientLifetimeMs, client, [client] { drop(client); });
}

void SingleInstance::read(QLocalSocket *client) {
    if (!client->canReadLine()) {
        if (client->bytesAvailable() >= requestLimit)
            drop(client);
        return;
    }
    if (client->readLine(requestLimit + 1) == reopen) {
        client->write("ok\n");
        client->flush();
        emit reopenRequested();
    }
    client->disconnectFromServer();
}
