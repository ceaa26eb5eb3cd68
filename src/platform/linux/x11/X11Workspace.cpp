#include "X11Workspace.h"

#include "ApplicationQuitAction.h"
#include "DesktopAppLauncher.h"
#include "platform/ApplicationBundles.h"
#include "platform/SystemLog.h"
#include "X11Connection.h"
#include "X11RunningApplication.h"

#include <algorithm>
#include <QCoreApplication>
#include <QFileInfo>
#include <QThreadPool>

X11Workspace::X11Workspace(const ApplicationBundles &bundles, SystemLog &log,
                           QThreadPool &launchPool, QObject *parent)
    : Workspace(parent), m_bundles(bundles), m_log(log), m_launchPool(launchPool),
      m_connection(X11Connection::open()), m_index(bundles.scanFolders()), m_matcher(m_index) {
    if (!m_connection) {
        m_log.write(QStringLiteral("Quellory: cannot connect to the X server at DISPLAY=%1; no "
                                   "running applications can be listed")
                        .arg(qEnvironmentVariable("DISPLAY")));
        return;
    }
    m_reader = std::make_unique<ClientWindowReader>(*m_connection);
    m_connection->setEventHandler([this](const xcb_generic_event_t &event) { handleEvent(event); });
    connect(m_connection.get(), &X11Connection::eventsHandled, this, [this] {
        if (m_needsSync)
            synchronize();
    });
    connect(m_connection.get(), &X11Connection::lost, this, &X11Workspace::connectionLost);
    watchRoot();
    findWindowManager();
    m_connection->flush();
}

X11Workspace::~X11Workspace() = default;

std::uint64_t X11Workspace::roundTrips() const {
    return m_connection ? m_connection->roundTrips() : 0;
}

void X11Workspace::watchRoot() {
    // Property changes tell of the client list and of a window manager coming; the root's
    // children tell of windows mapped while no manager runs.
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection->raw(), m_connection->root(), XCB_CW_EVENT_MASK,
                                 &mask);
}

void X11Workspace::findWindowManager() {
    m_managerCheck = m_reader->windowManagerCheck();
    // The manager's own window goes with it: that is how its leaving is seen.
    if (m_managerCheck != XCB_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection->raw(), m_managerCheck, XCB_CW_EVENT_MASK, &mask);
    }
    m_connection->setManagerClosesWindows(m_managerCheck != XCB_NONE &&
                                          m_reader->managerClosesWindows());
    m_needsSync = true;
}

void X11Workspace::handleEvent(const xcb_generic_event_t &event) {
    const auto &atoms = m_connection->atoms();
    switch (event.response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto &notify = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        if (notify.window == m_connection->root()) {
            if (notify.atom == atoms.netSupportingWmCheck)
                findWindowManager();
            m_needsSync |= notify.atom == atoms.netClientList;
        } else if (m_windows.contains(notify.window) && notify.atom != atoms.netWmIcon) {
            m_changedWindows.insert(notify.window);
            m_needsSync = true;
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto &notify = reinterpret_cast<const xcb_destroy_notify_event_t &>(event);
        if (notify.window == m_managerCheck) {
            m_managerCheck = XCB_NONE;
            m_connection->setManagerClosesWindows(false);
        }
        m_needsSync |= m_managerCheck == XCB_NONE;
        break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        // With a manager, these are its frames coming and going: the client list says more.
        m_needsSync |= m_managerCheck == XCB_NONE;
        break;
    default:
        break;
    }
}

QList<RunningApplicationPtr> X11Workspace::runningApplications() {
    synchronize();
    QList<RunningApplicationPtr> applications;
    applications.reserve(qsizetype(m_applications.size()));
    for (const Handle &application : m_applications)
        applications.append(application);
    return applications;
}

RunningApplicationPtr X11Workspace::runningApplication(qint32 processIdentifier) {
    const auto it = std::find_if(m_applications.begin(), m_applications.end(),
                                 [processIdentifier](const Handle &application) {
                                     return application->processIdentifier() == processIdentifier;
                                 });
    return it == m_applications.end() ? nullptr : *it;
}

std::optional<QString> X11Workspace::urlForApplication(const QString &bundleID) const {
    return m_bundles.pathForBundleIdentifier(bundleID);
}

void X11Workspace::openApplication(const QString &path, OpenCompletion completion) {
    m_index.refreshIfChanged();
    const auto *entry = m_index.byPath(path);
    const QString id = entry ? entry->id : QFileInfo(path).completeBaseName();
    // An application that runs is brought forward rather than started a second time.
    for (const Handle &application : m_applications) {
        if (application->bundleIdentifier() == id && !application->windows().empty()) {
            m_connection->activate(application->windows().front().id);
            m_connection->flush();
            completion(std::nullopt);
            return;
        }
    }
    m_launchPool.start([path, completion = std::move(completion)] {
        completion(DesktopAppLauncher::launch(path));
    });
}

void X11Workspace::synchronize() {
    m_needsSync = false;
    if (!m_connection || !m_connection->isAlive())
        return;
    std::vector<xcb_window_t> windows;
    if (m_managerCheck != XCB_NONE) {
        if (auto managed = m_reader->managedWindows())
            windows = std::move(*managed);
    } else {
        windows = m_reader->mappedWindows();
    }
    if (!m_connection->isAlive())
        return connectionLost();
    if (windows == m_windowOrder && m_changedWindows.empty())
        return;
    if (!readWindows(windows))
        return connectionLost();

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
    for (const Handle &application : ended)
        emit didTerminateApplication(application);
    for (const Handle &application : launched)
        emit didLaunchApplication(application);
}

bool X11Workspace::readWindows(const std::vector<xcb_window_t> &windows) {
    std::vector<xcb_window_t> unread;
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    for (const xcb_window_t window : windows) {
        if (!m_windows.contains(window))
            xcb_change_window_attributes(m_connection->raw(), window, XCB_CW_EVENT_MASK, &mask);
        if (!m_windows.contains(window) || m_changedWindows.contains(window))
            unread.push_back(window);
    }
    std::vector<ClientWindow> read = m_reader->read(unread);
    if (!m_connection->isAlive())
        return false;
    std::unordered_map<xcb_window_t, ClientWindow> current;
    for (ClientWindow &window : read)
        current.emplace(window.id, std::move(window));
    for (const xcb_window_t window : windows) {
        if (!current.contains(window))
            current.emplace(window, m_windows.at(window));
    }
    m_windows = std::move(current);
    m_windowOrder = windows;
    m_changedWindows.clear();
    return true;
}

std::vector<std::pair<qint32, std::vector<ClientWindow>>> X11Workspace::windowsByProcess() const {
    std::vector<std::pair<qint32, std::vector<ClientWindow>>> groups;
    for (const xcb_window_t id : m_windowOrder) {
        const ClientWindow &window = m_windows.at(id);
        qint32 processIdentifier = window.processIdentifier;
        // A dialog whose process is not known belongs to the window it serves.
        if (processIdentifier <= 0 && m_windows.contains(window.transientFor))
            processIdentifier = m_windows.at(window.transientFor).processIdentifier;
        if (processIdentifier <= 0)
            continue;
        auto group = std::find_if(groups.begin(), groups.end(),
                                  [&](const auto &g) { return g.first == processIdentifier; });
        if (group == groups.end())
            group = groups.insert(groups.end(), {processIdentifier, {}});
        group->second.push_back(window);
    }
    return groups;
}

X11Workspace::Handle X11Workspace::adopt(qint32 processIdentifier,
                                         std::vector<ClientWindow> windows) {
    // A process whose windows come back (its window manager was replaced) keeps its handle.
    Handle application;
    if (const auto dormant = m_dormant.find(processIdentifier); dormant != m_dormant.end()) {
        application = m_dormant.extract(dormant).mapped();
    } else {
        application = X11RunningApplication::forProcess(processIdentifier, m_connection);
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

ApplicationMatcher::Match X11Workspace::matchOf(qint32 processIdentifier,
                                                const std::vector<ClientWindow> &windows,
                                                const ProcessFacts &facts) const {
    ApplicationMatcher::Match match = m_matcher.match(windows, facts);
    const std::optional<QString> ownId = m_bundles.mainBundleIdentifier();
    if (!ownId)
        return match;
    // This program is itself by its pid alone, installed or not, so that it never lists or quits
    // itself. Another that states its identifier or window class would hide from the list: it
    // goes by the program it runs, or by its pid where even that is this program's identifier.
    if (processIdentifier == QCoreApplication::applicationPid()) {
        match.bundleIdentifier = *ownId;
    } else if (match.bundleIdentifier == *ownId) {
        QString name = facts.program;
        if (name.isEmpty() || name == *ownId)
            name = QStringLiteral("pid-%1").arg(processIdentifier);
        match = {name, name, std::nullopt, ApplicationMatcher::Rule::windowClass};
    }
    return match;
}

void X11Workspace::watch(X11RunningApplication *application,
                         const std::vector<ClientWindow> &windows) {
    connect(application, &X11RunningApplication::ended, this,
            [this, application] { applicationEnded(application); });
    const auto stated = std::find_if(windows.begin(), windows.end(), [](const ClientWindow &w) {
        return !w.gtkBusName.isEmpty() && !w.gtkObjectPath.isEmpty();
    });
    if (stated != windows.end())
        ApplicationQuitAction::probe(
            stated->gtkBusName, stated->gtkObjectPath, application->processIdentifier(),
            application, [application, path = stated->gtkObjectPath](const QString &owner) {
                application->setQuitAction(owner, path);
            });
}

void X11Workspace::applicationEnded(X11RunningApplication *application) {
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

void X11Workspace::connectionLost() {
    if (m_wasLost)
        return;
    m_wasLost = true;
    m_log.write(QStringLiteral("Quellory: lost the connection to the X server; no running "
                               "applications are listed until the program is started again"));
    const std::vector<Handle> ended = std::exchange(m_applications, {});
    m_windows.clear();
    m_windowOrder.clear();
    m_facts.clear();
    m_dormant.clear();
    for (const Handle &application : ended)
        emit didTerminateApplication(application);
}
