#include "ApplicationMatcher.h"

#include <fcntl.h>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Rule = ApplicationMatcher::Rule;

constexpr Rule rulesInOrder[] = {Rule::startupWMClass, Rule::statedId,     Rule::sandboxId,
                                 Rule::wmClassAsId,    Rule::launchRecord, Rule::commandLine};

bool isAboutWindows(Rule rule) {
    return rule == Rule::startupWMClass || rule == Rule::statedId || rule == Rule::wmClassAsId;
}

bool isAboutThePrograms(Rule rule) {
    return rule == Rule::startupWMClass || rule == Rule::commandLine;
}

// A script, or anything but a plain file, may start a program of any name or place.
bool mayStartAnotherProgram(const QString &path) {
    const int fd = open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return true;
    struct stat status {};
    char start[2] = {};
    const bool isPlainProgram = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                                read(fd, start, sizeof start) == sizeof start &&
                                !(start[0] == '#' && start[1] == '!');
    close(fd);
    return !isPlainProgram;
}

// Whether the process plainly runs another program than the entry's Exec names: a program of
// the same name installed elsewhere, such as Qt 6's tool beside the Qt 5 one whose entry claims
// their common window class. A launcher or wrapper script may start any program, so a program
// of another name proves nothing; where either side is unknown, the entry stays.
bool runsAnotherProgram(const DesktopEntryIndex::Entry &entry, const ProcessFacts &facts) {
    if (entry.programPath.isEmpty() || facts.executable.isEmpty())
        return false;
    const QFileInfo entryProgram(QFileInfo(entry.programPath).canonicalFilePath());
    const QString path = entryProgram.filePath();
    return !path.isEmpty() && path != facts.executable &&
           entryProgram.fileName() == QFileInfo(facts.executable).fileName() &&
           !mayStartAnotherProgram(path);
}

// "Google Chrome" is known as "google-chrome".
QString asDesktopFileId(const QString &wmClass) {
    return wmClass.toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
}

} // namespace

ApplicationMatcher::Match ApplicationMatcher::match(std::span<const ClientWindow> windows,
                                                    const ProcessFacts &facts) const {
    for (const Rule rule : rulesInOrder) {
        const auto *entry =
            isAboutWindows(rule) ? byWindows(windows, rule) : byProcess(facts, rule);
        if (entry && !(isAboutThePrograms(rule) && runsAnotherProgram(*entry, facts)))
            return {entry->id, entry->name, entry->path, rule};
    }
    // Every window can be quit, even one that belongs to no installed application.
    QString wmClass;
    for (const ClientWindow &window : windows) {
        wmClass = !window.className.isEmpty() ? window.className : window.instanceName;
        if (!wmClass.isEmpty())
            break;
    }
    if (wmClass.isEmpty())
        wmClass = facts.program;
    return {wmClass, wmClass, std::nullopt, Rule::windowClass};
}

const DesktopEntryIndex::Entry *ApplicationMatcher::byWindows(std::span<const ClientWindow> windows,
                                                              Rule rule) const {
    for (const ClientWindow &window : windows) {
        const DesktopEntryIndex::Entry *entry = nullptr;
        switch (rule) {
        case Rule::startupWMClass:
            entry = m_index.byStartupWMClass(window.instanceName);
            if (!entry)
                entry = m_index.byStartupWMClass(window.className);
            break;
        case Rule::statedId:
            for (const QString *id :
                 {&window.gtkApplicationId, &window.kdeDesktopFile, &window.appId}) {
                if (!entry && !id->isEmpty())
                    entry = m_index.byId(*id);
            }
            break;
        default:
            entry = byClassAsId(window);
        }
        if (entry)
            return entry;
    }
    return nullptr;
}

const DesktopEntryIndex::Entry *ApplicationMatcher::byClassAsId(const ClientWindow &window) const {
    for (const QString &id :
         {window.instanceName, window.className, asDesktopFileId(window.instanceName),
          asDesktopFileId(window.className)}) {
        if (const auto *entry = id.isEmpty() ? nullptr : m_index.byId(id))
            return entry;
    }
    // Reverse-DNS names on either side: "org.kde.konsole" runs as "konsole", and GTK 3's
    // "mousepad" is "org.xfce.mousepad".
    const QString lastPart = window.className.section(QLatin1Char('.'), -1);
    if (const auto *entry =
            lastPart.size() < window.className.size() ? m_index.byId(lastPart) : nullptr)
        return entry;
    return window.className.isEmpty() ? nullptr : m_index.byIdLastPart(window.className);
}

const DesktopEntryIndex::Entry *ApplicationMatcher::byProcess(const ProcessFacts &facts,
                                                              Rule rule) const {
    switch (rule) {
    case Rule::sandboxId:
        return facts.sandboxId ? m_index.byId(*facts.sandboxId) : nullptr;
    case Rule::launchRecord:
        if (facts.unitId) {
            if (const auto *entry = m_index.byId(*facts.unitId))
                return entry;
        }
        return facts.launchedDesktopFile ? m_index.byPath(*facts.launchedDesktopFile) : nullptr;
    default:
        return facts.program.isEmpty() ? nullptr : m_index.byProgram(facts.program);
    }
}
