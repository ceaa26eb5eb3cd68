#include "ApplicationUnits.h"

#include "ProcessFacts.h"

#include <map>
#include <optional>
#include <QDir>
#include <QFile>
#include <QList>

namespace {

struct Process {
    qint32 processIdentifier = 0;
    quint64 startTime = 0;
};

QByteArray readFile(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    return file.readAll();
}

// "Uid:\t<real>\t<effective>…" in /proc/PID/status.
std::optional<uid_t> realUserOf(const QByteArray &status) {
    for (const QByteArray &line : status.split('\n')) {
        if (!line.startsWith("Uid:"))
            continue;
        bool isNumber = false;
        const uint user = line.mid(4).simplified().split(' ').front().toUInt(&isNumber);
        return isNumber ? std::optional<uid_t>(user) : std::nullopt;
    }
    return std::nullopt;
}

// The start time, field 22 of /proc/PID/stat, counted after the command name in parentheses.
quint64 startTimeOf(const QByteArray &stat) {
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 19 ? fields.at(19).toULongLong() : 0;
}

// The "app-…" unit's own name, the last part of its cgroup's path.
QString appUnitOf(const QByteArray &cgroup) {
    for (const QByteArray &line : cgroup.split('\n')) {
        const QByteArray unit = line.mid(line.lastIndexOf('/') + 1);
        if (unit.startsWith("app-"))
            return QString::fromUtf8(unit);
    }
    return {};
}

} // namespace

ApplicationUnits::ApplicationUnits(QString procRoot, uid_t user)
    : m_procRoot(std::move(procRoot)), m_user(user) {}

std::vector<ApplicationUnits::Application> ApplicationUnits::read() const {
    std::map<QString, std::pair<Application, Process>> units;
    const QDir root(m_procRoot);
    for (const QString &name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isProcess = false;
        const qint32 processIdentifier = name.toInt(&isProcess);
        const QString folder = root.filePath(name);
        if (!isProcess || realUserOf(readFile(folder + QStringLiteral("/status"))) != m_user)
            continue;
        const QByteArray cgroup = readFile(folder + QStringLiteral("/cgroup"));
        const QString unit = appUnitOf(cgroup);
        const std::optional<QString> id = ProcessFacts::idOfCgroup(cgroup);
        if (unit.isEmpty() || !id)
            continue;
        const Process process{processIdentifier,
                              startTimeOf(readFile(folder + QStringLiteral("/stat")))};
        auto [entry, isNew] =
            units.try_emplace(unit, Application{unit, *id, processIdentifier}, process);
        if (!isNew && process.startTime < entry->second.second.startTime)
            entry->second = {Application{unit, *id, processIdentifier}, process};
    }
    std::vector<Application> applications;
    for (const auto &[unit, entry] : units)
        applications.push_back(entry.first);
    return applications;
}
