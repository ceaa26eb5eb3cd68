#include "DisplayTcpClients.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <QFile>
#include <string>
#include <unistd.h>

namespace {

constexpr quint16 firstDisplayPort = 6000;
constexpr QByteArrayView established = "01";

struct FolderCloser {
    void operator()(DIR *folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

bool isLoopback(QByteArrayView address) {
    // IPv4 in the kernel's byte order; IPv6 ::1, or ::ffff:127.x.x.x.
    if (address.size() == 8)
        return address.endsWith("7F");
    return address == "00000000000000000000000001000000" ||
           (address.startsWith("0000000000000000FFFF0000") && address.endsWith("7F"));
}

std::vector<qint32> owners(const std::vector<quint64> &inodes) {
    std::vector<qint32> found;
    const Folder processes(opendir("/proc"));
    while (const dirent *process = processes ? readdir(processes.get()) : nullptr) {
        const qint32 pid = qint32(std::atoi(process->d_name));
        const std::string fds = "/proc/" + std::string(process->d_name) + "/fd";
        const Folder files(pid > 0 ? opendir(fds.c_str()) : nullptr);
        while (const dirent *file = files ? readdir(files.get()) : nullptr) {
            char target[64] = {};
            const std::string path = fds + '/' + file->d_name;
            if (readlink(path.c_str(), target, sizeof target - 1) <= 0 ||
                std::strncmp(target, "socket:[", 8) != 0)
                continue;
            if (std::find(inodes.begin(), inodes.end(), std::strtoull(target + 8, nullptr, 10)) !=
                inodes.end()) {
                found.push_back(pid);
                break;
            }
        }
    }
    return found;
}

} // namespace

std::vector<quint64> DisplayTcpClients::loopbackConnections(const QByteArray &table, quint16 port) {
    const QByteArray portSuffix =
        ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    std::vector<quint64> inodes;
    for (const QByteArray &line : table.split('\n')) {
        // sl local_address rem_address st tx:rx tr:when retrnsmt uid timeout inode
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 10 || fields[3] != established || !fields[2].endsWith(portSuffix))
            continue;
        if (isLoopback(QByteArrayView(fields[2]).chopped(portSuffix.size())))
            inodes.push_back(fields[9].toULongLong());
    }
    return inodes;
}

std::vector<qint32> DisplayTcpClients::of(int displayNumber) {
    const auto port = quint16(firstDisplayPort + displayNumber);
    std::vector<quint64> inodes;
    for (const char *table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        QFile file(QString::fromLatin1(table));
        const auto found = loopbackConnections(
            file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), port);
        inodes.insert(inodes.end(), found.begin(), found.end());
    }
    return inodes.empty() ? std::vector<qint32>() : owners(inodes);
}
