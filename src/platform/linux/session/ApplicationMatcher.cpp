#include "ApplicationMatcher.h"

namespace {

using Rule = ApplicationMatcher::Rule;

constexpr Rule rulesInOrder[] = {Rule::startupWMClass, Rule::statedId,     Rule::sandboxId,
                                 Rule::wmClassAsId,    Rule::launchRecord, Rule::commandLine};

bool isAboutWindows(Rule rule) {
    return rule == Rule::startupWMClass || rule == Rule::statedId || rule == Rule::wmClassAsId;
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
        if (entry)
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
