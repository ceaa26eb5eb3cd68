#include "QuelloryApp.h"

#include "models/AppCatalog.h"
#include "platform/Updater.h"
#include "views/LiteralText.h"
#include "views/MainView.h"
#include "views/ViewEnvironment.h"

#include <QApplication>
#include <QIcon>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>

namespace {

// A window that is never exposed (opened on a hidden workspace) paints only when it is shown
// there; the rest of the program starts after this long all the same.
constexpr int paintWaitMs = 1000;

} // namespace

QuelloryApp::QuelloryApp(const ViewEnvironment &environment, Workspace &workspace,
                         Scheduler &scheduler, Updater &updater, QObject *parent)
    : QObject(parent), m_appDelegate(environment.settings, environment.monitor, environment.catalog,
                                     environment.icons, workspace, scheduler, environment.bundles),
      m_updater(updater) {
    m_updater.startUpdater();
    m_window.setWindowTitle(MainView::windowTitle);
    m_window.setCentralWidget(new MainView(environment, &m_window));
    m_window.resize(defaultSize);
    addApplicationMenu();
}

void QuelloryApp::useDesktopIcons(const QString &desktopThemeName) {
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(desktopThemeName);
    QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));
}

// Desktops with a global menu show it in their top bar; elsewhere it is the window's menu bar.
void QuelloryApp::addApplicationMenu() {
    QMenu *menu = m_window.menuBar()->addMenu(LiteralText::forShortcutMarks(MainView::windowTitle));
    const auto addItem = [menu](const QString &text) {
        return menu->addAction(LiteralText::forShortcutMarks(text));
    };
    connect(addItem(tr("About Quellory")), &QAction::triggered, &m_window, [this] {
        QMessageBox::about(&m_window, tr("About Quellory"),
                           tr("Quellory %1\nLists the applications you run and quits them "
                              "politely, and opens the ones you use most.")
                               .arg(QApplication::applicationVersion()));
    });
    // Read once, as the menu is built: a program built without a feed cannot check.
    QAction *check = addItem(tr("Check for Updates…"));
    check->setEnabled(m_updater.canCheckForUpdates());
    connect(check, &QAction::triggered, this, [this] { m_updater.checkForUpdates(); });
    menu->addSeparator();
    QAction *quit = addItem(tr("Quit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, &m_appDelegate, &AppDelegate::quitQuellory);
}

void QuelloryApp::start() {
    m_window.installEventFilter(this);
    m_window.show();
    QTimer::singleShot(paintWaitMs, this, &QuelloryApp::finishLaunching);
}

bool QuelloryApp::eventFilter(QObject *watched, QEvent *event) {
    // Once the event loop is back, the painted frame has gone to the display.
    if (watched == &m_window && event->type() == QEvent::Paint) {
        m_window.removeEventFilter(this);
        QTimer::singleShot(0, this, &QuelloryApp::finishLaunching);
    }
    return QObject::eventFilter(watched, event);
}

void QuelloryApp::finishLaunching() {
    if (m_hasFinishedLaunching)
        return;
    m_hasFinishedLaunching = true;
    m_window.removeEventFilter(this);
    // The task bar's icon, drawn from the SVG at every size X11 passes on: the first frame does
    // not show it, and Qt hands it to the shown window.
    QApplication::setWindowIcon(QIcon::fromTheme(
        AppCatalog::builtInBundleIdentifier, QIcon(QStringLiteral(":/app.quellory.Quellory.svg"))));
    emit firstPainted();
    m_appDelegate.applicationDidFinishLaunching();
}

void QuelloryApp::reopen() {
    const auto windows = QApplication::topLevelWidgets();
    const bool hasVisibleWindows = std::any_of(windows.begin(), windows.end(), [](QWidget *w) {
        return w->isVisible() && !w->isMinimized() && !(w->windowFlags() & Qt::Popup);
    });
    m_appDelegate.applicationShouldHandleReopen(hasVisibleWindows);
}
