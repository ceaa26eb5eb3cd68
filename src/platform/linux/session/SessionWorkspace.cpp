#include "SessionWorkspace.h"

#include "ApplicationQuitAction.h"
#include "DesktopAppLauncher.h"
#include "platform/ApplicationBundles.h"
#include "SessionRunningApplication.h"
#include "WindowSource.h"

#include <algorithm>
#include <QCoreApplication>
#include <QFileInfo>
#include <QThreadPool>
#include <unordered_set>

SessionWorkspace::SessionWorkspace(const ApplicationBundles &bundles, QThreadPool &launchPool,
                                   QObject *parent)
    : Workspace(parent), m_bundles(bundles), m_launchPool(launchPool),
      m_index(bundles.scanFolders()), m_matcher(m_index) {}

SessionWorkspace::~SessionWorkspace() = default;

void SessionWorkspace::addSource(std::unique_ptr<WindowSource> source) {
    connect(source.get(), &WindowSource::windowsChanged, this, &SessionWorkspace::synchronize);
    m_sources.push_back(std::move(source));
}

void SessionWorkspace::start() {
    for (const auto &source : m_sources)
        source->refresh();
    synchronize();
}

QList<RunningApplicationPtr> SessionWorkspace::runningApplications() {
    for (const auto &source : m_sources)
        source->refresh();
    QList<RunningApplicationPtr> applications;
    applications.reserve(qsizetype(m_applications.size()));
    for (const Handle &application : m_applications)
        applications.append(application);
    return applications;
}

RunningApplicationPtr SessionWorkspace::runningApplication(qint32 processIdentifier) {
    const auto it = std::find_if(m_applications.begin(), m_applications.end(),
                                 [processIdentifier](const Handle &application) {
                                     return application->processIdentifier() == processIdentifier;
                                 });
    return it == m_applications.end() ? nullptr : *it;
}

std::optional<QString> SessionWorkspace::urlForApplication(const QString &bundleID) const {
    return m_bundles.pathForBundleIdentifier(bundleID);
}

void SessionWorkspace::openApplication(const QString &path, OpenCompletion completion) {
    m_index.refreshIfChanged();
    const auto *entry = m_index.byPath(path);
    const QString id = entry ? entry->id : QFileInfo(path).completeBaseName();
    // An application that runs is brought forward rather than started a second time.
    for (const Handle &application : m_applications) {
        if (application->bundleIdentifier() == id && !application->windows().empty()) {
            const ClientWindow &window = application->windows().front();
            if (window.source)
                window.source->activate(window);
            completion(std::nullopt);
            return;
        }
    }
    m_launchPool.start([path, completion = std::move(completion)] {
        completion(DesktopAppLauncher::launch(path));
    });
}

void SessionWorkspace::synchronize() {
    std::vector<Handle> applications, launched;
    auto groups = windowsByProcess();
    for (const Handle &application : m_applications) {
        const auto group = std::find_if(groups.begin(), groups.end(), [&](const auto &g) {
            return g.first == application->processIdentifier();
        });
        if (group == groups.end())
            continue;
        const ProcessFacts &facts = m_facts[application->processIdentifier()];
        application->update(group->second,
                            matchOf(application->processIdentifier(), group->second, facts));
        applications.push_back(application);
        groups.erase(group);
    }
    if (!groups.empty())
        m_index.refreshIfChanged();
    for (auto &[processIdentifier, processWindows] : groups) {
        if (Handle application = adopt(processIdentifier, std::move(processWindows))) {
            applications.push_back(application);
            launched.push_back(application);
        }
    }
    std::vector<Handle> ended;
    for (const Handle &application : m_applications) {
        if (std::find(applications.begin(), applications.end(), application) ==
            applications.end()) {
            if (!application->isTerminated())
                m_dormant.emplace(application->processIdentifier(), application);
            ended.push_back(application);
        }
    }
    m_applications = std::move(applications);
    // What already ran when the session was first read was not launched now.
    if (!std::exchange(m_hasRead, true))
        launched.clear();
    for (const Handle &application : ended)
        emit didTerminateApplication(application);
    for (const Handle &application : launched)
        emit didLaunchApplication(application);
}

std::vector<SessionWorkspace::ProcessWindows> SessionWorkspace::windowsByProcess() const {
    std::vector<ProcessWindows> groups;
    std::unordered_set<qint32> claimedBefore;
    for (const auto &source : m_sources) {
        std::unordered_map<quint64, const ClientWindow *> byId;
        for (const ClientWindow &window : source->windows())
            byId.emplace(window.id, &window);
        std::unordered_set<qint32> claimed;
        for (const ClientWindow &window : source->windows()) {
            qint32 processIdentifier = window.processIdentifier;
            // A dialog whose process is not known belongs to the window it serves.
            if (const auto parent = byId.find(window.transientFor);
                processIdentifier <= 0 && parent != byId.end())
                processIdentifier = parent->second->processIdentifier;
            if (processIdentifier <= 0 || claimedBefore.contains(processIdentifier))
                continue;
            claimed.insert(processIdentifier);
            auto group = std::find_if(groups.begin(), groups.end(),
                                      [&](const auto &g) { return g.first == processIdentifier; });
            if (group == groups.end())
                group = groups.insert(groups.end(), {processIdentifier, {}});
            group->second.push_back(window);
        }
        claimedBefore.merge(claimed);
    }
    return groups;
}

SessionWorkspace::Handle SessionWorkspace::adopt(qint32 processIdentifier,
                                                 std::vector<ClientWindow> windows) {
    // A process whose windows come back (its window manager was replaced) keeps its handle.
    Handle application;
    if (const auto dormant = m_dormant.find(processIdentifier); dormant != m_dormant.end()) {
        application = m_dormant.extract(dormant).mapped();
    } else {
        application = SessionRunningApplication::forProcess(processIdentifier);
        if (!application)
            return nullptr;
        watch(application.get(), windows);
    }
    if (!m_facts.contains(processIdentifier))
        m_facts.emplace(processIdentifier, ProcessFacts::of(processIdentifier));
    application->update(windows,
                        matchOf(processIdentifier, windows, m_facts.at(processIdentifier)));
    return application;
}

ApplicationMatcher::Match SessionWorkspace::matchOf(qint32 processIdentifier,
                                                    const std::vector<ClientWindow> &windows,
                                                    const ProcessFacts &facts) const {
    ApplicationMatcher::Match match = m_matcher.match(windows, facts);
    // This program is itself, installed or not, so that it never lists or quits itself.
    if (processIdentifier == QCoreApplication::applicationPid()) {
        if (const auto ownId = m_bundles.mainBundleIdentifier())
            match.bundleIdentifier = *ownId;
    }
    return match;
}

void SessionWorkspace::watch(SessionRunningApplication *application,
                             const std::vector<ClientWindow> &windows) {
    connect(application, &SessionRunningApplication::ended, this,
            [this, application] { applicationEnded(application); });
    const auto stated = std::find_if(windows.begin(), windows.end(), [](const ClientWindow &w) {
        return !w.gtkBusName.isEmpty() && !w.gtkObjectPath.isEmpty();
    });
    if (stated != windows.end())
        ApplicationQuitAction::probe(
            stated->gtkBusName, stated->gtkObjectPath, application,
            [application](bool exportsQuit) { application->setExportsQuitAction(exportsQuit); });
}

void SessionWorkspace::applicationEnded(SessionRunningApplication *application) {
    const qint32 processIdentifier = application->processIdentifier();
    m_facts.erase(processIdentifier);
    Handle ended;
    if (const auto dormant = m_dormant.find(processIdentifier); dormant != m_dormant.end()) {
        ended = m_dormant.extract(dormant).mapped();
    } else {
        const auto it =
            std::find_if(m_applications.begin(), m_applications.end(),
                         [application](const Handle &h) { return h.get() == application; });
        if (it == m_applications.end())
            return;
        ended = *it;
        m_applications.erase(it);
        emit didTerminateApplication(ended);
    }
    // This runs inside the handle's own signal: it may go only on a later turn.
    QMetaObject::invokeMethod(
        this, [ended] {}, Qt::QueuedConnection);
}
