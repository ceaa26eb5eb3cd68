#include "AppDelegate.h"

#include "models/AppCatalog.h"
#include "models/AppSettings.h"
#include "models/IconCache.h"
#include "models/Observation.h"
#include "models/Scheduler.h"
#include "models/UserCollation.h"
#include "models/WindowMonitor.h"
#include "platform/Workspace.h"
#include "StatusMenuItemViews.h"
#include "TrayIcon.h"
#include "views/LiteralText.h"
#include "views/MainView.h"

#include <algorithm>
#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QSystemTrayIcon>

namespace {

const QString finderBundleID = QStringLiteral("com.apple.finder");
constexpr int menuIconSize = 18;

} // namespace

AppDelegate::AppDelegate(AppSettings &settings, WindowMonitor &monitor, AppCatalog &catalog,
                         IconCache &icons, Workspace &workspace, Scheduler &scheduler,
                         const ApplicationBundles &bundles, QObject *parent)
    : QObject(parent), m_settings(settings), m_monitor(monitor), m_catalog(catalog), m_icons(icons),
      m_workspace(workspace), m_scheduler(scheduler), m_bundles(bundles) {
    connect(&m_statusMenu, &QMenu::aboutToShow, this, &AppDelegate::rebuildStatusMenu);
    connect(&m_statusMenu, &QMenu::aboutToHide, this, &AppDelegate::menuDidClose);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    m_monitor.startObserving();
    m_monitor.refresh();
    m_monitor.startRefreshTimer();
    m_scheduler.post(this, [this] { m_catalog.loadIfNeeded(); });
    applyMenuBarIconSetting();
    Observation::rearming(this, m_scheduler,
                          {ObservedProperty(&m_settings, &AppSettings::showMenuBarIconChanged)},
                          [this] { applyMenuBarIconSetting(); });
    m_scheduler.post(this, [this] {
        if (QWidget *window = findMainWindow())
            window->installEventFilter(this);
    });
}

bool AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    if (!hasVisibleWindows)
        showMainWindow();
    return true;
}

void AppDelegate::applyMenuBarIconSetting() {
    if (m_settings.showMenuBarIcon())
        installStatusItem();
    else
        removeStatusItem();
    const QWidget *window = findMainWindow();
    setActivationPolicy(window && window->isVisible() ? ActivationPolicy::Regular
                                                      : policyWithoutWindow());
}

AppDelegate::ActivationPolicy AppDelegate::policyWithoutWindow() const {
    return m_settings.showMenuBarIcon() ? ActivationPolicy::Accessory : ActivationPolicy::Regular;
}

void AppDelegate::setActivationPolicy(ActivationPolicy policy) {
    if (policy == m_activationPolicy)
        return;
    m_activationPolicy = policy;
    emit activationPolicyChanged();
}

QWidget *AppDelegate::findMainWindow() {
    return MainView::findMainWindow();
}

void AppDelegate::showMainWindow() {
    setActivationPolicy(ActivationPolicy::Regular);
    if (QWidget *window = findMainWindow()) {
        window->installEventFilter(this);
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        window->show();
        window->raise();
        window->activateWindow();
    }
}

// Closing the main window keeps the program: hidden in the tray when its icon shows, else
// minimised, so that the task bar still has it. A quit closes it for good.
bool AppDelegate::eventFilter(QObject *watched, QEvent *event) {
    auto *window = qobject_cast<QWidget *>(watched);
    if (m_isQuitting || event->type() != QEvent::Close || !window || !window->isWindow() ||
        window->windowTitle() != MainView::windowTitle)
        return QObject::eventFilter(watched, event);
    event->ignore();
    if (m_settings.showMenuBarIcon()) {
        window->hide();
        setActivationPolicy(policyWithoutWindow());
    } else {
        window->showMinimized();
    }
    return true;
}

int AppDelegate::runningAppCount() const {
    const QString ownID = AppCatalog::ownBundleIdentifier(m_bundles);
    const auto &apps = m_monitor.runningApps();
    return int(std::count_if(apps.begin(), apps.end(), [&ownID](const RunningApplicationPtr &app) {
        return app->bundleIdentifier() != ownID;
    }));
}

QString AppDelegate::statusTitle(int count) {
    return count < 1 ? QString() : QStringLiteral(" ") + QString::number(count);
}

QString AppDelegate::statusAccessibilityLabel(int count) {
    return tr("Quellory, %n running app(s)", nullptr, count);
}

void AppDelegate::installStatusItem() {
    if (m_statusItem)
        return;
    m_statusItem = std::make_unique<QSystemTrayIcon>();
    m_statusItem->setContextMenu(&m_statusMenu);
    rebuildStatusMenu();
    connect(m_statusItem.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // A right click opens the context menu by itself.
                if (reason == QSystemTrayIcon::Trigger)
                    statusBarButtonClicked();
            });
    updateStatusButton();
    Observation::rearming(m_statusItem.get(), m_scheduler,
                          {ObservedProperty(&m_monitor, &WindowMonitor::runningAppsChanged)},
                          [this] { updateStatusButton(); });
    // At login the panel often starts after the program: Qt docks the icon once a tray appears.
    m_statusItem->show();
}

void AppDelegate::removeStatusItem() {
    if (m_statusItem) {
        m_statusItem->setContextMenu(nullptr);
        m_statusItem->hide();
        m_statusItem.reset();
    }
    m_statusMenu.clear();
}

void AppDelegate::updateStatusButton() {
    if (!m_statusItem)
        return;
    const int count = runningAppCount();
    m_statusItem->setIcon(TrayIcon::make(count, QApplication::palette()));
    m_statusItem->setToolTip(statusAccessibilityLabel(count));
}

QAction *AppDelegate::addItem(const QString &text) {
    return m_statusMenu.addAction(LiteralText::forShortcutMarks(text));
}

void AppDelegate::addHeader(const QString &title) {
    if (m_menuDrawnByDesktop)
        addItem(title)->setEnabled(false);
    else
        (new SectionHeaderMenuItemView(title))->addTo(m_statusMenu, true, title);
}

void AppDelegate::addSpacer() {
    if (m_menuDrawnByDesktop)
        m_statusMenu.addSeparator();
    else
        (new MenuSpacerItemView)->addTo(m_statusMenu, false);
}

void AppDelegate::rebuildStatusMenu() {
    m_statusMenu.clear();
    addHeader(QStringLiteral("Quellory"));
    m_statusMenu.addSeparator();

    const QString ownID = AppCatalog::ownBundleIdentifier(m_bundles);
    QList<RunningApplicationPtr> apps;
    for (const RunningApplicationPtr &app : m_monitor.runningApps()) {
        if (app->bundleIdentifier() != ownID && app->bundleIdentifier() != finderBundleID)
            apps.append(app);
    }
    const QCollator collator = UserCollation::caseInsensitive();
    std::stable_sort(apps.begin(), apps.end(), [&collator](const auto &a, const auto &b) {
        return collator.compare(a->localizedName().value_or(QString()),
                                b->localizedName().value_or(QString())) < 0;
    });
    if (apps.isEmpty()) {
        addItem(tr("No Apps Running"))->setEnabled(false);
    } else {
        addHeader(tr("Running Apps"));
        for (qsizetype i = 0; i < apps.size(); ++i) {
            if (i > 0)
                addSpacer();
            m_statusMenu.addAction(makeQuitItem(apps[i]));
        }
    }
    m_statusMenu.addSeparator();
    connect(addItem(tr("Open Quellory")), &QAction::triggered, this, &AppDelegate::openAppFromMenu);
    m_statusMenu.addSeparator();
    QAction *quit = addItem(tr("Quit"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    connect(quit, &QAction::triggered, this, &AppDelegate::quitQuellory);
}

QAction *AppDelegate::makeQuitItem(const RunningApplicationPtr &application) {
    const QString name =
        application->localizedName().value_or(application->bundleIdentifier().value_or(QString()));
    auto *item = new QAction(LiteralText::forShortcutMarks(tr("Quit %1").arg(name)), &m_statusMenu);
    item->setData(application->processIdentifier());
    const auto setIcon = [item](const QImage &icon) {
        item->setIcon(QPixmap::fromImage(icon.scaled(
            menuIconSize, menuIconSize, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    };
    // Windows without an icon of their own show their entry's, as the list's rows do.
    if (const QImage icon = application->icon(); !icon.isNull())
        setIcon(icon);
    else if (const auto path = application->bundlePath())
        m_icons.loadIcon(path, nullptr, item, setIcon);
    connect(item, &QAction::triggered, this, [this, item] { quitRunningApp(item); });
    return item;
}

void AppDelegate::statusBarButtonClicked() {
    m_wasAccessoryBeforeMenu = m_activationPolicy == ActivationPolicy::Accessory;
    if (m_wasAccessoryBeforeMenu)
        setActivationPolicy(ActivationPolicy::Regular);
    m_statusMenu.popup(QCursor::pos());
}

void AppDelegate::menuDidClose() {
    if (m_wasAccessoryBeforeMenu) {
        if (const QWidget *window = findMainWindow(); window && window->isVisible()) {
            m_wasAccessoryBeforeMenu = false;
            return;
        }
        if (m_settings.showMenuBarIcon())
            setActivationPolicy(ActivationPolicy::Accessory);
    }
    m_wasAccessoryBeforeMenu = false;
}

void AppDelegate::quitRunningApp(const QAction *item) {
    bool isNumber = false;
    const qint32 processIdentifier = item->data().toInt(&isNumber);
    if (!isNumber)
        return;
    const RunningApplicationPtr application = m_workspace.runningApplication(processIdentifier);
    if (!application)
        return;
    const auto bundleID = application->bundleIdentifier();
    if (!bundleID || AppCatalog::excludedBundleIDs().contains(*bundleID))
        return;
    application->terminate();
}

void AppDelegate::openAppFromMenu() {
    showMainWindow();
}

// Qt asks every window to close before it quits, and the main window's close would refuse.
void AppDelegate::quitQuellory() {
    m_isQuitting = true;
    QCoreApplication::quit();
}
