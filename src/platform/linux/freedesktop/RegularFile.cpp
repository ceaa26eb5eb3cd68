#include "RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <glib.h>
#include <QFile>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

std::optional<QByteArray> RegularFile::read(const QString &path, qint64 limit) {
    // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
    const Descriptor file(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status {};
    if (file.fd() < 0 || fstat(file.fd(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > limit)
        return std::nullopt;
    // The file may grow while it is read: one byte more than the limit tells.
    QByteArray bytes(qsizetype(std::min<qint64>(status.st_size, limit) + 1), Qt::Uninitialized);
    qsizetype total = 0;
    while (total < bytes.size()) {
        const ssize_t count = ::read(file.fd(), bytes.data() + total, size_t(bytes.size() - total));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        total += qsizetype(count);
        if (total == bytes.size() && total <= limit)
            bytes.resize(std::min<qsizetype>(total * 2, qsizetype(limit) + 1));
    }
    if (total > limit)
        return std::nullopt;
    bytes.truncate(total);
    return bytes;
}

bool RegularFile::loadKeyFile(GKeyFile *keyFile, const QString &path, qint64 limit) {
    const auto bytes = read(path, limit);
    return bytes && g_key_file_load_from_data(keyFile, bytes->constData(), gsize(bytes->size()),
                                              G_KEY_FILE_NONE, nullptr);
}
