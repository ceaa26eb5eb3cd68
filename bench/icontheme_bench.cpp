// Times icon lookups through the desktop's icon theme: the first one, which reads the themes,
// and then one entry's icon at 32 pixels, alone and six at a time as the prefetch runs them.
// The entries name real icons of the installed themes, and some unknown ones. Medians over
// several rounds, warm file cache.

#include "platform/linux/IconThemeProvider.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QtConcurrent/qtconcurrentmap.h>
#include <QTemporaryDir>
#include <QThreadPool>
#include <vector>

namespace {

constexpr int entryCount = 300;
constexpr int rounds = 7;
const QString theme = QStringLiteral("Adwaita");

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Names of application icons the machine has, as a launcher's entries would name them.
QStringList installedIconNames() {
    QStringList names;
    for (const char *folder : {"/usr/share/icons/hicolor", "/usr/share/icons/Adwaita"}) {
        QDirIterator files(QString::fromLatin1(folder), {"*.png", "*.svg"}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            names.append(files.nextFileInfo().completeBaseName());
    }
    names.removeDuplicates();
    return names;
}

QStringList writeEntries(const QString &folder) {
    const QStringList icons = installedIconNames();
    QStringList paths;
    for (int i = 0; i < entryCount; ++i) {
        const QString icon = i % 10 == 0 || icons.isEmpty() ? QStringLiteral("unknown-%1").arg(i)
                                                            : icons.at((i * 7919) % icons.size());
        const QString path = QStringLiteral("%1/app-%2.desktop").arg(folder).arg(i);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        file.write("[Desktop Entry]\nType=Application\nName=App\nExec=app\nIcon=" + icon.toUtf8() +
                   "\n");
        paths.append(path);
    }
    return paths;
}

} // namespace

int main(int argc, char **argv) {
    QGuiApplication app(argc, argv);
    QTemporaryDir scratch;
    const QStringList entries = writeEntries(scratch.path());

    std::vector<double> first, alone, together;
    for (int round = 0; round < rounds; ++round) {
        const IconThemeProvider provider(theme);
        auto start = Clock::now();
        provider.iconForFile(entries.first(), 32);
        first.push_back(millisecondsSince(start));

        start = Clock::now();
        for (const QString &entry : entries)
            provider.iconForFile(entry, 32);
        alone.push_back(millisecondsSince(start) * 1000.0 / entryCount);

        QThreadPool pool;
        pool.setMaxThreadCount(6);
        start = Clock::now();
        QtConcurrent::blockingMap(
            &pool, entries, [&provider](const QString &entry) { provider.iconForFile(entry, 32); });
        together.push_back(millisecondsSince(start));
    }
    std::printf("icon_theme_first_lookup %.2f ms\n", median(first));
    std::printf("icon_theme_lookup_per_entry %.1f us\n", median(alone));
    std::printf("icon_theme_%d_entries_six_threads %.2f ms\n", entryCount, median(together));
    return 0;
}
