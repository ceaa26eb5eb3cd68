#include "ProcessFacts.h"

#include "CommandLine.h"

#include <glib.h>
#include <memory>
#include <QFile>
#include <QFileInfo>
#include <QList>

namespace {

QString processFolderOf(const QString &processFolder, qint32 processIdentifier) {
    return processFolder + QLatin1Char('/') + QString::number(processIdentifier);
}

QByteArray readProcFile(const QString &folder, const char *name) {
    QFile file(folder + QLatin1Char('/') + QLatin1String(name));
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

QByteArrayList argumentsOf(const QByteArray &commandLine) {
    QByteArrayList arguments = commandLine.split('\0');
    if (arguments.back().isEmpty())
        arguments.removeLast();
    return arguments;
}

QString fileNameOf(const QByteArray &program) {
    return QString::fromUtf8(program.mid(program.lastIndexOf('/') + 1));
}

// The kernel tells which file the process runs; a script is named by its interpreter's argument,
// which may be relative to the process's working folder.
QString executableOf(const QString &folder, const QByteArrayList &arguments) {
    const qsizetype program = CommandLine::programIndex(arguments);
    if (program <= 0)
        return QFileInfo(folder + QStringLiteral("/exe")).canonicalFilePath();
    const QString script = QFile::decodeName(arguments[program]);
    return QFileInfo(script.startsWith(QLatin1Char('/'))
                         ? script
                         : folder + QStringLiteral("/cwd/") + script)
        .canonicalFilePath();
}

} // namespace

ProcessFacts ProcessFacts::of(qint32 processIdentifier, const QString &processFolder) {
    const QString folder = processFolderOf(processFolder, processIdentifier);
    ProcessFacts facts;
    const QByteArray commandLine = readProcFile(folder, "cmdline");
    facts.program = programOf(commandLine);
    facts.executable = executableOf(folder, argumentsOf(commandLine));
    facts.sandboxId = idOfFlatpakInfo(readProcFile(folder, "root/.flatpak-info"));
    if (!facts.sandboxId)
        facts.sandboxId = idOfSecurityLabel(readProcFile(folder, "attr/current"));
    facts.unitId = idOfCgroup(readProcFile(folder, "cgroup"));
    facts.launchedDesktopFile =
        launchedDesktopFileOf(readProcFile(folder, "environ"), processIdentifier);
    return facts;
}

bool ProcessFacts::isRunning(qint32 processIdentifier) {
    const QByteArray stat =
        readProcFile(processFolderOf(QStringLiteral("/proc"), processIdentifier), "stat");
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
    const QByteArrayList arguments = argumentsOf(commandLine);
    const qsizetype program = CommandLine::programIndex(arguments);
    return program < 0 ? QString() : fileNameOf(arguments[program]);
}
