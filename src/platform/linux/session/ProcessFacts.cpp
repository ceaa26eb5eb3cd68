#include "ProcessFacts.h"

#include <glib.h>
#include <memory>
#include <QFile>
#include <QList>

namespace {

QByteArray readProcFile(qint32 processIdentifier, const char *name) {
    QFile file(QStringLiteral("/proc/%1/%2").arg(processIdentifier).arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    // /proc files report no size: read until the end.
    return file.readAll();
}

// systemd escapes a '-' inside a unit name's part as "\x2d".
QString unescapeUnitPart(const QByteArray &part) {
    QByteArray text = part;
    return QString::fromUtf8(text.replace("\\x2d", "-"));
}

} // namespace

ProcessFacts ProcessFacts::of(qint32 processIdentifier) {
    ProcessFacts facts;
    facts.program = programOf(readProcFile(processIdentifier, "cmdline"));
    facts.sandboxId = idOfFlatpakInfo(readProcFile(processIdentifier, "root/.flatpak-info"));
    if (!facts.sandboxId)
        facts.sandboxId = idOfSecurityLabel(readProcFile(processIdentifier, "attr/current"));
    facts.unitId = idOfCgroup(readProcFile(processIdentifier, "cgroup"));
    facts.launchedDesktopFile =
        launchedDesktopFileOf(readProcFile(processIdentifier, "environ"), processIdentifier);
    return facts;
}

bool ProcessFacts::isRunning(qint32 processIdentifier) {
    const QByteArray stat = readProcFile(processIdentifier, "stat");
    // The state follows the command name, which is in parentheses and may hold anything.
    const qsizetype nameEnd = stat.lastIndexOf(')');
    if (nameEnd < 0 || nameEnd + 2 >= stat.size())
        return false;
    const char state = stat.at(nameEnd + 2);
    return state != 'Z' && state != 'X' && state != 'x';
}

std::optional<QString> ProcessFacts::idOfCgroup(const QByteArray &cgroup) {
    // A desktop that follows the XDG scheme starts applications in units named
    // "app[-<launcher>]-<id>[@<random>].service" or "app[-<launcher>]-<id>-<random>.scope".
    for (const QByteArray &line : cgroup.split('\n')) {
        QByteArray unit = line.mid(line.lastIndexOf('/') + 1);
        if (!unit.startsWith("app-"))
            continue;
        if (unit.endsWith(".scope")) {
            unit.chop(6);
            unit.truncate(unit.lastIndexOf('-'));
        } else if (unit.endsWith(".service")) {
            unit.chop(8);
            if (const qsizetype at = unit.indexOf('@'); at >= 0)
                unit.truncate(at);
        } else {
            continue;
        }
        const QList<QByteArray> parts = unit.mid(4).split('-');
        if (!parts.isEmpty() && !parts.back().isEmpty())
            return unescapeUnitPart(parts.back());
    }
    return std::nullopt;
}

std::optional<QString> ProcessFacts::idOfFlatpakInfo(const QByteArray &info) {
    if (info.isEmpty())
        return std::nullopt;
    std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(), g_key_file_free);
    if (!g_key_file_load_from_data(file.get(), info.constData(), gsize(info.size()),
                                   G_KEY_FILE_NONE, nullptr))
        return std::nullopt;
    std::unique_ptr<gchar, decltype(&g_free)> name(
        g_key_file_get_string(file.get(), "Application", "name", nullptr), g_free);
    if (!name || !*name)
        return std::nullopt;
    return QString::fromUtf8(name.get());
}

std::optional<QString> ProcessFacts::idOfSecurityLabel(const QByteArray &label) {
    // "snap.<snap>.<app> (enforce)": Snap installs the app's entry as "<snap>_<app>.desktop".
    if (!label.startsWith("snap."))
        return std::nullopt;
    const QList<QByteArray> parts = label.split(' ').front().trimmed().split('.');
    if (parts.size() < 3 || parts[1].isEmpty() || parts[2].isEmpty())
        return std::nullopt;
    return QString::fromUtf8(parts[1] + '_' + parts[2]);
}

std::optional<QString> ProcessFacts::launchedDesktopFileOf(const QByteArray &environment,
                                                           qint32 processIdentifier) {
    // A child inherits the variables from the program GIO launched; only the pid tells them apart.
    QByteArray file;
    bool isThisProcess = false;
    for (const QByteArray &variable : environment.split('\0')) {
        if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE="))
            file = variable.mid(26);
        else if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE_PID="))
            isThisProcess = variable.mid(30) == QByteArray::number(processIdentifier);
    }
    if (!isThisProcess || file.isEmpty())
        return std::nullopt;
    return QString::fromUtf8(file);
}

QString ProcessFacts::programOf(const QByteArray &commandLine) {
    const qsizetype end = commandLine.indexOf('\0');
    const QByteArray first = end < 0 ? commandLine : commandLine.left(end);
    return QString::fromUtf8(first.mid(first.lastIndexOf('/') + 1));
}
