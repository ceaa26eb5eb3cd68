#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <vector>

// The processes of this machine that reach an X display over TCP (DISPLAY=localhost:N) rather
// than through its local socket. The X server cannot tell the pid of such a client; the sockets
// that the processes hold can.
class DisplayTcpClients {
public:
    // The processes connected to display `displayNumber` through the loopback interface, as far
    // as this user may see their open files.
    static std::vector<qint32> of(int displayNumber);
    // The socket inodes of the connections in a /proc/net/tcp or tcp6 table that lead to `port`
    // on the loopback interface.
    static std::vector<quint64> loopbackConnections(const QByteArray &table, quint16 port);
};
