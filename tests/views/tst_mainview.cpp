#include "fakes/FakeLoginItemService.h"
#include "fakes/SimulatedSession.h"
#include "models/AppSettings.h"
#include "views/AppsListActions.h"
#include "views/AppsListFilter.h"
#include "views/AppsListView.h"
#include "views/LaunchLoadingView.h"
#include "views/MainView.h"
#include "views/SettingsPopoverView.h"

#include <QLineEdit>
#include <QListView>
#include <QMainWindow>
#include <QStackedWidget>
#include <QTest>
#include <QToolButton>

// The main window's content over a simulated session, offscreen.
class MainViewTest : public QObject {
    Q_OBJECT

private:
    struct Window {
        SimulatedSession session;
        FakeLoginItemService loginItems;
        AppSettings settings{session.defaults, loginItems};
        AppsListActions actions{session.workspace, session.usage, session.bundles, session.time,
                                session.log};
        QMainWindow window;
        MainView *view;

        Window() {
            session.install("org.example.Editor", "Editor");
            session.install("org.example.Viewer", "Viewer");
            view = new MainView({settings, session.monitor, session.catalog, session.usage,
                                 session.icons, actions, session.bundles},
                                &window);
            window.setWindowTitle(MainView::windowTitle);
            window.setCentralWidget(view);
        }
        QWidget *content() const { return view->findChild<QStackedWidget *>()->currentWidget(); }
        QLineEdit *search() const { return view->findChild<QLineEdit *>(); }
        AppsListView *list() const { return view->findChild<AppsListView *>(); }
        QToolButton *settingsButton() const {
            for (auto *button : view->findChildren<QToolButton *>())
                if (button->accessibleName() == "Settings")
                    return button;
            return nullptr;
        }
    };

private slots:
    void showsThePlaceholderUntilTheCatalogHasLoaded() {
        Window w;
        w.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        // Showing the view starts the scan; the search typed meanwhile is kept for the list.
        QVERIFY(w.session.catalog.hasStartedLoading());
        QVERIFY(qobject_cast<LaunchLoadingView *>(w.content()) || !w.session.catalog.isLoading());
        QTest::keyClicks(w.search(), "  view ");
        QTRY_VERIFY(!w.session.catalog.isLoading());
        QCOMPARE(w.content(), w.list());
        QCOMPARE(w.view->searchText(), "  view ");
        QTRY_COMPARE(w.list()->rows().rowCount(), 2); // the header and Viewer
        // Shown again, the list is there at once and nothing loads twice.
        w.window.hide();
        w.window.show();
        QCOMPARE(w.content(), w.list());
    }

    void settingsButtonOpensAndClosesThePopover() {
        Window w;
        w.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        auto *popover = w.view->findChild<SettingsPopoverView *>();
        QVERIFY(popover && w.settingsButton());
        QTest::mouseClick(w.settingsButton(), Qt::LeftButton);
        QTRY_VERIFY(popover->isVisible());
        QVERIFY(w.view->showSettings());
        // Clicking elsewhere closes a popup; the view learns it.
        popover->hide();
        QVERIFY(!w.view->showSettings());
        QTest::mouseClick(w.settingsButton(), Qt::LeftButton);
        QTRY_VERIFY(popover->isVisible());
    }

    void findShortcutFocusesTheSearchField() {
        Window w;
        w.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        w.window.activateWindow();
        w.settingsButton()->setFocus();
        QTest::keySequence(&w.window, QKeySequence::Find);
        QTRY_VERIFY(w.search()->hasFocus());
        QCOMPARE(w.search()->placeholderText(), "Search apps");
        QCOMPARE(w.search()->accessibleName(), "Search apps");
    }

    void windowIsHeldToItsSizeLimits_data() {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QSize>("corrected");
        QTest::newRow("within") << QSize(400, 600) << QSize(400, 600);
        QTest::newRow("too narrow goes back to the ideal width")
            << QSize(200, 600) << QSize(460, 600);
        QTest::newRow("too low goes back to the ideal height")
            << QSize(400, 300) << QSize(400, 560);
        QTest::newRow("too large is held at the maximum") << QSize(900, 1000) << QSize(560, 780);
        QTest::newRow("at the limits") << QSize(320, 780) << QSize(320, 780);
    }
    void windowIsHeldToItsSizeLimits() {
        QFETCH(QSize, size);
        QFETCH(QSize, corrected);
        QCOMPARE(MainView::correctedSize(size), corrected);
    }

    void configuresOnlyTheWindowTitledQuellory() {
        QWidget main;
        main.setWindowTitle(MainView::windowTitle);
        main.resize(900, 200);
        QWidget stranger;
        stranger.setWindowTitle("Quellory Preferences");
        stranger.resize(900, 900);
        MainView::configureMainWindow();
        QCOMPARE(main.size(), QSize(560, 560));
        QCOMPARE(main.minimumSize(), MainView::minimumSize);
        QCOMPARE(main.maximumSize(), MainView::maximumSize);
        QCOMPARE(stranger.size(), QSize(900, 900));
        QCOMPARE(stranger.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }
};

QTEST_MAIN(MainViewTest)
#include "tst_mainview.moc"
