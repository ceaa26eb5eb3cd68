#pragma once

#include <optional>
#include <QByteArray>
#include <QString>

// What the kernel tells about a process that helps to name the application it belongs to.
struct ProcessFacts {
    // The file name of the program it runs, without its folder: argv[0], or the script that an
    // interpreter runs.
    QString program;
    // The file of that program with every link resolved; empty when it cannot be told.
    QString executable;
    // The desktop file ID that a sandbox (Flatpak, Snap) runs it under.
    std::optional<QString> sandboxId;
    // The desktop file ID of the systemd unit a desktop launched it in ("app-…").
    std::optional<QString> unitId;
    // The desktop file that GIO launched this very process from.
    std::optional<QString> launchedDesktopFile;

    // Reads /proc (or a folder laid out as it, for tests) now; what cannot be read stays empty.
    static ProcessFacts of(qint32 processIdentifier,
                           const QString &processFolder = QStringLiteral("/proc"));
    // Whether the process exists and has not ended (a zombie has).
    static bool isRunning(qint32 processIdentifier);

    // The readers of the individual files, open for tests.
    static std::optional<QString> idOfCgroup(const QByteArray &cgroup);
    static std::optional<QString> idOfFlatpakInfo(const QByteArray &info);
    static std::optional<QString> idOfSecurityLabel(const QByteArray &label);
    static std::optional<QString> launchedDesktopFileOf(const QByteArray &environment,
                                                        qint32 processIdentifier);
    static QString programOf(const QByteArray &commandLine);
};
