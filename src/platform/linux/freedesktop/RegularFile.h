#pragma once

#include <optional>
#include <QByteArray>
#include <QString>

typedef struct _GKeyFile GKeyFile;

// Reading a small file that anyone may have put in the program's way. Only a regular file is
// read: a FIFO or a device would block the reading thread for good, or never end. The file is
// opened without waiting and read no further than a limit.
class RegularFile {
public:
    // Desktop entries, icon theme indexes and icons are all far smaller.
    static constexpr qint64 defaultLimit = 4 << 20;

    // The file's bytes; none when it is no regular file, cannot be read or is larger than limit.
    static std::optional<QByteArray> read(const QString &path, qint64 limit = defaultLimit);
    // Loads the file into a key file as g_key_file_load_from_file() would; false as above, or
    // when its text does not parse.
    static bool loadKeyFile(GKeyFile *keyFile, const QString &path, qint64 limit = defaultLimit);
};
