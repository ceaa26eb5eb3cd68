#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

// Writes the file whole, making its folder first; whether all of it was written.
inline bool writeFile(const QString &path, const QByteArray &contents) {
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(contents) == contents.size();
}
