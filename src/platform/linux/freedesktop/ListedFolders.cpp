#include "ListedFolders.h"

#include <algorithm>
#include <fcntl.h>
#include <QFile>
#include <QVarLengthArray>
#include <unistd.h>

namespace {

// The name's bytes, NUL-terminated: a plain copy for the usual ASCII name.
QVarLengthArray<char, 256> fileName(QStringView name) {
    QVarLengthArray<char, 256> bytes(name.size() + 1);
    char *out = bytes.data();
    for (const QChar c : name) {
        if (c.unicode() >= 0x80) {
            const QByteArray encoded = QFile::encodeName(name.toString());
            bytes.resize(encoded.size() + 1);
            std::copy_n(encoded.constData(), encoded.size() + 1, bytes.data());
            return bytes;
        }
        *out++ = char(c.unicode());
    }
    *out = '\0';
    return bytes;
}

} // namespace

ListedFolders::~ListedFolders() {
    for (const Folder &folder : std::as_const(m_folders))
        close(folder.fd);
}

void ListedFolders::add(const QString &folder, int fd, QSet<QString> irregularNames) {
    QMutexLocker locker(&m_lock);
    const auto earlier = m_folders.constFind(folder);
    if (earlier != m_folders.cend())
        close(earlier->fd);
    m_folders.insert(folder, {fd, std::move(irregularNames)});
    m_last = nullptr;
    m_lastPath.clear();
}

ListedFolders::OpenFile ListedFolders::open(const QString &path, int flags) const {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QStringView folder = QStringView(path).left(slash);
    const QStringView name = QStringView(path).mid(slash + 1);
    QMutexLocker locker(&m_lock);
    if (!m_last || slash <= 0 || folder != m_lastPath) {
        const auto found = slash > 0 ? m_folders.constFind(folder.toString()) : m_folders.cend();
        if (found == m_folders.cend())
            return {::open(QFile::encodeName(path).constData(), flags), false};
        m_lastPath = found.key();
        m_last = &*found;
    }
    const bool isRegular =
        m_last->irregularNames.isEmpty() || !m_last->irregularNames.contains(name.toString());
    return {openat(m_last->fd, fileName(name).constData(), flags), isRegular};
}
