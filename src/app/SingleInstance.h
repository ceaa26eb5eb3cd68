#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One Quellory per user session. The first process listens on a local socket; a later one
// reaches it there, asks it to show its window, and leaves.
class SingleInstance final : public QObject {
    Q_OBJECT
public:
    // name: the socket's name, the same for every process of the user's session.
    explicit SingleInstance(QString name, QObject *parent = nullptr);

    // The socket of the user's session: in $XDG_RUNTIME_DIR, else in the temporary folder under
    // the user's id.
    static QString sessionSocketName();

    // Asks a running instance to reopen; true when one answered. Otherwise this process becomes
    // the instance that listens, taking over the socket a crashed one left behind.
    bool reachRunningInstance();

signals:
    // Another process was started and asks this one to show itself.
    void reopenRequested();

private:
    void listen();

    QString m_name;
    QLocalServer *m_server = nullptr;
};
