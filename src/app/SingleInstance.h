#pragma once

#include <QList>
#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;

// One Quellory per user session. The process that holds the lock file beside the socket is the
// instance and listens on the socket; a later one reaches it there, asks it to show its window,
// and leaves, however long the instance takes to answer. The socket serves only the user's own
// processes, a few at a time, each for a short request.
class SingleInstance final : public QObject {
    Q_OBJECT
public:
    // name: the socket's name, the same for every process of the user's session; with none,
    // this process runs on its own.
    explicit SingleInstance(QString name, QObject *parent = nullptr);
    ~SingleInstance() override;

    // The socket of the user's session: in $XDG_RUNTIME_DIR, else in a folder of the user's cache
    // that only the user may enter; none when neither is the user's alone.
    static QString sessionSocketName();

    // Whether another instance runs; then it has been asked to reopen. Otherwise this process
    // becomes the instance, taking over the socket a crashed one left behind.
    bool reachRunningInstance();

signals:
    // Another process was started and asks this one to show itself.
    void reopenRequested();

private:
    void askRunningInstance() const;
    void listen();
    void accept(QLocalSocket *client);
    void read(QLocalSocket *client);

    QString m_name;
    int m_lock = -1;
    QLocalServer *m_server = nullptr;
    QList<QLocalSocket *> m_clients; // the oldest first
};
