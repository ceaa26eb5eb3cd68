#include "app/AppDelegate.h"
#include "app/StatusMenuItemViews.h"
#include "fakes/DrawnTextStyle.h"
#include "fakes/FakeLoginItemService.h"
#include "fakes/SimulatedSession.h"
#include "models/AppSettings.h"
#include "views/Contrast.h"
#include "views/Translations.h"

#include <array>
#include <QAccessible>
#include <QPainter>
#include <QSystemTrayIcon>
#include <QTest>
#include <QTimer>
#include <QWidgetAction>

using Policy = AppDelegate::ActivationPolicy;

namespace {

// The menu as a screen reader hears it: "[Header]", "---" for a separator, "(gap)" for a spacer,
// and item names, disabled ones in brackets.
QStringList describe(QMenu &menu) {
    QStringList lines;
    const QList<QAction *> actions = menu.actions();
    QAccessibleInterface *reader = QAccessible::queryAccessibleInterface(&menu);
    for (qsizetype i = 0; i < actions.size(); ++i) {
        const QString heard = reader->child(int(i))->text(QAccessible::Name);
        if (const auto *view = qobject_cast<const QWidgetAction *>(actions[i])) {
            const auto *header = qobject_cast<SectionHeaderMenuItemView *>(view->defaultWidget());
            lines << (header ? "[" + heard + "]" : QStringLiteral("(gap)"));
        } else if (actions[i]->isSeparator()) {
            lines << "---";
        } else {
            lines << (actions[i]->isEnabled() ? heard : "(" + heard + ")");
        }
    }
    return lines;
}

} // namespace

// The shell over a simulated session: the tray icon and its menu, the main window's hiding and
// reopening, and the activation policy that goes with them.
class AppDelegateTest : public QObject {
    Q_OBJECT

private:
    struct Shell : SimulatedSession {
        FakeLoginItemService loginItems;
        AppSettings settings{defaults, loginItems};
        QWidget mainWindow;
        AppDelegate delegate;

        explicit Shell(bool menuDrawnByDesktop = false)
            : delegate(settings, monitor, catalog, icons, workspace, time, bundles) {
            delegate.setMenuDrawnByDesktop(menuDrawnByDesktop);
            bundles.mainID = QStringLiteral("app.quellory.Quellory");
            mainWindow.setWindowTitle(QStringLiteral("Quellory"));
            mainWindow.show();
            delegate.applicationDidFinishLaunching();
            time.runPending();
        }
        QStringList menu() {
            delegate.rebuildStatusMenu();
            return describe(delegate.statusMenu());
        }
        QAction *item(const QString &text) {
            for (QAction *action : delegate.statusMenu().actions())
                if (action->text() == text)
                    return action;
            return nullptr;
        }
    };

private slots:
    void initTestCase() { Translations::install(QLocale(QLocale::English)); }
    void countsEverythingButItself() {
        Shell shell;
        QVERIFY(shell.delegate.statusItem());
        shell.launch("app.quellory.Quellory", "Quellory", 10);
        QCOMPARE(shell.delegate.runningAppCount(), 0);
        QCOMPARE(shell.delegate.statusItem()->toolTip(), "Quellory, 0 running apps");
        shell.launch("com.apple.finder", "Finder", 11);
        shell.launch(std::nullopt, "Nameless", 12);
        QCOMPARE(shell.delegate.runningAppCount(), 2);
        // The tray follows the monitor on a later turn.
        QCOMPARE(shell.delegate.statusItem()->toolTip(), "Quellory, 2 running apps");
    }

    void menuListsRunningAppsByName() {
        Shell shell;
        shell.launch("app.quellory.Quellory", "Quellory", 10);
        shell.launch("com.apple.finder", "Finder", 11);
        QCOMPARE(shell.menu(), QStringList({"[Quellory]", "---", "(No Apps Running)", "---",
                                            "Open Quellory", "---", "Quit"}));
        shell.launch("org.example.Beta", "beta", 20);
        shell.launch("org.example.Alpha", "Alpha", 21);
        shell.launch("org.example.Alpha2", "alpha2", 22);
        // Without names both sort first, in the monitor's order.
        shell.launch("org.example.Unnamed", std::nullopt, 23);
        shell.launch(std::nullopt, std::nullopt, 24);
        QCOMPARE(shell.menu(),
                 QStringList({"[Quellory]", "---", "[Running Apps]", "Quit org.example.Unnamed",
                              "(gap)", "Quit ", "(gap)", "Quit Alpha", "(gap)", "Quit alpha2",
                              "(gap)", "Quit beta", "---", "Open Quellory", "---", "Quit"}));
        QCOMPARE(shell.delegate.statusMenu().actions().last()->shortcut(),
                 QKeySequence(Qt::CTRL | Qt::Key_Q));
    }

    void namesShowAsTheyStandWithoutShortcuts() {
        Shell shell;
        shell.launch("org.gnome.Software", "Software & Updates", 20);
        QCOMPARE(shell.menu().at(3), "Quit Software & Updates");
        QMenu &menu = shell.delegate.statusMenu();
        DrawnTextStyle style;
        menu.setStyle(&style);
        menu.grab();
        QVERIFY(style.drew("Quit Software & Updates"));
        QCOMPARE(
            QAccessible::queryAccessibleInterface(&menu)->child(3)->text(QAccessible::Accelerator),
            "");
    }

    void desktopDrawnMenuHasPlainItemsWithTheSameTexts() {
        Shell shell(true);
        shell.launch("org.example.Beta", "beta", 20);
        shell.launch("org.example.Alpha", "Alpha", 21);
        QCOMPARE(shell.menu(),
                 QStringList({"(Quellory)", "---", "(Running Apps)", "Quit Alpha", "---",
                              "Quit beta", "---", "Open Quellory", "---", "Quit"}));
    }

    void quitItemsAskOnlyWhatStillRunsAndMayBeQuit() {
        Shell shell;
        const auto beta = shell.launch("org.example.Beta", "beta", 20);
        const auto finder = shell.launch("com.apple.finder", "Finder", 11);
        shell.menu();
        QAction *quitBeta = shell.item("Quit beta");
        QVERIFY(quitBeta);
        quitBeta->trigger();
        QCOMPARE(beta->terminateCalls, 1);

        // A protected identifier is never asked, even when an item names its process.
        QAction forged(QStringLiteral("Quit Finder"));
        forged.setData(finder->pid);
        shell.delegate.quitRunningApp(&forged);
        QCOMPARE(finder->terminateCalls, 0);

        // Ended before its item was chosen: nothing.
        shell.end(beta);
        quitBeta->trigger();
        QCOMPARE(beta->terminateCalls, 1);
    }

    // Panels come light and dark, and an XEmbed tray cannot tell the icon which: most of the
    // glyph's strokes stand out at 3:1 from either, whatever the theme of the program.
    void trayGlyphShowsOnLightAndDarkPanels_data() {
        QTest::addColumn<QColor>("panel");
        QTest::addColumn<QColor>("themeText");
        QTest::newRow("black panel, light theme") << QColor(Qt::black) << QColor(Qt::black);
        QTest::newRow("white panel, light theme") << QColor(Qt::white) << QColor(Qt::black);
        QTest::newRow("black panel, dark theme") << QColor(Qt::black) << QColor(Qt::white);
        QTest::newRow("white panel, dark theme") << QColor(Qt::white) << QColor(Qt::white);
    }
    void trayGlyphShowsOnLightAndDarkPanels() {
        QFETCH(QColor, panel);
        QFETCH(QColor, themeText);
        const QPalette original = QApplication::palette();
        QPalette theme = original;
        theme.setColor(QPalette::WindowText, themeText);
        QApplication::setPalette(theme);
        Shell shell;
        QApplication::setPalette(original);
        QImage shown(22, 22, QImage::Format_RGB32);
        shown.fill(panel);
        QPainter painter(&shown);
        painter.drawPixmap(0, 0, shell.delegate.statusItem()->icon().pixmap(22, 22));
        painter.end();
        int legible = 0;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                legible += Contrast::ratio(shown.pixelColor(x, y), panel) >= 3.0 ? 1 : 0;
        // The strokes cover a fifth of the glyph's square or more; an eighth of the icon is ink.
        QVERIFY2(legible >= 22 * 22 / 8, qPrintable(QString::number(legible)));
    }

    void quitItemsShowTheWindowsIconElseTheEntrys() {
        Shell shell;
        const auto colourOf = [](const QAction *item) {
            return item->icon().pixmap(18).toImage().pixelColor(9, 9);
        };
        const auto bare = shell.launch("org.example.Bare", "Bare", 20);
        bare->path = SimulatedSession::pathOf("org.example.Bare");
        const auto own = shell.launch("org.example.Own", "Own", 21);
        own->path = SimulatedSession::pathOf("org.example.Own");
        own->image = QImage(16, 16, QImage::Format_ARGB32);
        own->image.fill(Qt::red);
        shell.menu();
        QCOMPARE(colourOf(shell.item("Quit Own")), QColor(Qt::red));
        QTRY_COMPARE(colourOf(shell.item("Quit Bare")),
                     FakeIconProvider::iconFor(*bare->path).pixelColor(0, 0));
    }

    void trayIconFollowsTheSetting() {
        Shell shell;
        QVERIFY(shell.delegate.statusItem());
        shell.settings.setShowMenuBarIcon(false);
        shell.settings.setShowMenuBarIcon(true);
        shell.settings.setShowMenuBarIcon(false);
        QVERIFY(shell.delegate.statusItem());
        shell.time.runPending();
        QVERIFY(!shell.delegate.statusItem());
        QVERIFY(shell.delegate.statusMenu().actions().isEmpty());
        shell.launch("org.example.Beta", "beta", 20);
        shell.settings.setShowMenuBarIcon(true);
        shell.time.runPending();
        QVERIFY(shell.delegate.statusItem());
        QCOMPARE(shell.delegate.statusItem()->toolTip(), "Quellory, 1 running app");
        QVERIFY(shell.delegate.statusMenu().actions().size() > 7);
    }

    void closingHidesTheWindowAndReopenBringsItBack() {
        Shell shell;
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Regular);
        QVERIFY(!shell.mainWindow.close());
        QVERIFY(!shell.mainWindow.isVisible());
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Accessory);
        // Reopening while something is visible changes nothing.
        QWidget other;
        other.show();
        QVERIFY(shell.delegate.applicationShouldHandleReopen(true));
        QVERIFY(!shell.mainWindow.isVisible());
        QVERIFY(shell.delegate.applicationShouldHandleReopen(false));
        QVERIFY(shell.mainWindow.isVisible());
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Regular);

        // Without the tray icon, the window goes down to the task bar, whence reopen brings it.
        shell.settings.setShowMenuBarIcon(false);
        shell.time.runPending();
        QVERIFY(!shell.mainWindow.close());
        QVERIFY(shell.mainWindow.isMinimized());
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Regular);
        shell.delegate.applicationShouldHandleReopen(false);
        QVERIFY(!shell.mainWindow.isMinimized());
        shell.settings.setShowMenuBarIcon(true);
        shell.time.runPending();
        QVERIFY(!shell.mainWindow.close());
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Accessory);

        // Any other window closes as usual.
        other.setWindowTitle(QStringLiteral("About Quellory"));
        other.installEventFilter(&shell.delegate);
        QVERIFY(other.close());
    }

    // Qt closes the top-level windows in the order of a hash before it quits, and gives up when
    // one refuses while another is still visible (the tray's own window is one). The main
    // window must not refuse then, wherever the hash puts it among the others.
    void quitEndsTheProgramWhateverIsOpen_data() {
        QTest::addColumn<bool>("showsMenuBarIcon");
        QTest::newRow("with the tray icon") << true;
        QTest::newRow("without the tray icon") << false;
    }
    void quitEndsTheProgramWhateverIsOpen() {
        QFETCH(bool, showsMenuBarIcon);
        Shell shell;
        shell.settings.setShowMenuBarIcon(showsMenuBarIcon);
        shell.time.runPending();
        std::array<QWidget, 8> others;
        for (int attempt = 0; attempt < 4; ++attempt) {
            for (QWidget &other : others)
                other.show();
            shell.delegate.showMainWindow();
            QTimer::singleShot(0, &shell.delegate, &AppDelegate::quitQuellory);
            // Only stops a refused quit from hanging the test.
            QTimer refused;
            refused.setSingleShot(true);
            connect(&refused, &QTimer::timeout, [] { QCoreApplication::exit(1); });
            refused.start(2000);
            QCOMPARE(QCoreApplication::exec(), 0);
            QVERIFY(!shell.mainWindow.isVisible());
        }
    }

    void theMainWindowIsTheFirstQuelloryWindowMade() {
        Shell shell;
        shell.mainWindow.hide();
        // Later windows of the same title never take its place, even while it is hidden.
        std::vector<std::unique_ptr<QWidget>> later(40);
        for (auto &window : later) {
            window = std::make_unique<QWidget>();
            window->setWindowTitle(QStringLiteral("Quellory"));
            window->show();
        }
        QCOMPARE(AppDelegate::findMainWindow(), &shell.mainWindow);
        shell.delegate.showMainWindow();
        QVERIFY(shell.mainWindow.isVisible());
    }

    void openingTheMenuLendsTheRegularPolicy() {
        Shell shell;
        shell.mainWindow.close();
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Accessory);
        shell.delegate.statusBarButtonClicked();
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Regular);
        shell.delegate.statusMenu().hide();
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Accessory);

        // "Open Quellory" from the menu leaves it regular, with the window in front.
        shell.delegate.statusBarButtonClicked();
        shell.delegate.openAppFromMenu();
        shell.delegate.statusMenu().hide();
        QCOMPARE(shell.delegate.activationPolicy(), Policy::Regular);
        QVERIFY(shell.mainWindow.isVisible());
    }
};

QTEST_MAIN(AppDelegateTest)
#include "tst_appdelegate.moc"
