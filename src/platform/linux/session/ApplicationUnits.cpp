#include "ApplicationUnits.h"

#include "ProcessFacts.h"

#include <map>
#include <optional>
#include <QDir>
#include <QFile>
#include <QList>

namespace {

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

// A GApplication's own actions are on the bus under its id, at its id as a path.
ClientWindow windowOf(const QString &desktopFileId, qint32 processIdentifier) {
    ClientWindow window;
    window.id = quint64(processIdentifier);
    window.processIdentifier = processIdentifier;
    window.appId = desktopFileId;
    window.gtkBusName = desktopFileId;
    window.gtkObjectPath = QLatin1Char('/') + QString(desktopFileId)
                                                  .replace(QLatin1Char('.'), QLatin1Char('/'))
                                                  .replace(QLatin1Char('-'), QLatin1Char('_'));
    return window;
}

} // namespace

ApplicationUnits::ApplicationUnits(IsApplication isApplication, QString procRoot, uid_t user,
                                   QObject *parent)
    : WindowSource(parent), m_isApplication(std::move(isApplication)),
      m_procRoot(std::move(procRoot)), m_user(user) {}

void ApplicationUnits::setEnabled(bool isEnabled) {
    m_isEnabled = isEnabled;
    refresh();
}

void ApplicationUnits::refresh() {
    std::vector<ClientWindow> windows = m_isEnabled ? read() : std::vector<ClientWindow>();
    for (ClientWindow &window : windows)
        window.source = this;
    if (windows == m_windows)
        return;
    m_windows = std::move(windows);
    emit windowsChanged();
}

std::vector<ClientWindow> ApplicationUnits::read() const {
    std::map<QString, std::pair<ClientWindow, quint64>> units;
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
        if (unit.isEmpty() || !id || !m_isApplication(*id))
            continue;
        const quint64 startTime = startTimeOf(readFile(folder + QStringLiteral("/stat")));
        auto [entry, isNew] = units.try_emplace(unit, windowOf(*id, processIdentifier), startTime);
        if (!isNew && startTime < entry->second.second)
            entry->second = {windowOf(*id, processIdentifier), startTime};
    }
    std::vector<ClientWindow> windows;
    for (const auto &[unit, entry] : units)
        windows.push_back(entry.first);
    return windows;
}
