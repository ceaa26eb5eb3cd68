#include "SingleInstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace {

constexpr int answerTimeoutMs = 2000;
const QByteArray reopen = QByteArrayLiteral("reopen\n");

} // namespace

QString SingleInstance::sessionSocketName() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty())
        return runtime + QStringLiteral("/app.quellory.Quellory.socket");
    return QDir::tempPath() + QStringLiteral("/app.quellory.Quellory-%1.socket").arg(getuid());
}

SingleInstance::SingleInstance(QString name, QObject *parent)
    : QObject(parent), m_name(std::move(name)) {}

bool SingleInstance::reachRunningInstance() {
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (socket.waitForConnected(answerTimeoutMs)) {
        socket.write(reopen);
        // The running instance answers once it has taken the request.
        if (socket.waitForBytesWritten(answerTimeoutMs) && socket.waitForReadyRead(answerTimeoutMs))
            return true;
    }
    listen();
    return false;
}

void SingleInstance::listen() {
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // A socket file that nobody answers on is what a crashed instance leaves behind.
    if (!m_server->listen(m_name)) {
        QLocalServer::removeServer(m_name);
        m_server->listen(m_name);
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                if (!client->canReadLine())
                    return;
                if (client->readLine() == reopen) {
                    client->write("ok\n");
                    client->flush();
                    emit reopenRequested();
                }
                client->disconnectFromServer();
            });
        }
    });
}
