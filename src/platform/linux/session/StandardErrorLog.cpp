#include "StandardErrorLog.h"

#include <cstdio>

void StandardErrorLog::write(const QString &message) {
    // One call per line, so that lines from different threads do not interleave.
    const QByteArray line = message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    std::fflush(stderr);
}
