#include "fakes/AppsListFixture.h"
#include "fakes/FakeLoginItemService.h"
#include "models/AppSettings.h"
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
    struct Window : AppsListSession {
        FakeLoginItemService loginItems;
        AppSettings settings{defaults, loginItems};
        QMainWindow window;
        MainView *view =
            new MainView({settings, monitor, catalog, usage, icons, actions, bundles}, &window);

        Window() {
            install("org.example.Editor", "Editor");
            install("org.example.Viewer", "Viewer");
            window.setWindowTitle(MainView::windowTitle);
            window.setCentralWidget(view);
            window.show();
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
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        // Showing the view starts the scan; the search typed meanwhile is kept for the list.
        QVERIFY(w.catalog.hasStartedLoading());
        QVERIFY(qobject_cast<LaunchLoadingView *>(w.content()) || !w.catalog.isLoading());
        QTest::keyClicks(w.search(), "  view ");
        QTRY_VERIFY(!w.catalog.isLoading());
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
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        QVERIFY(w.settingsButton());
        QTest::mouseClick(w.settingsButton(), Qt::LeftButton);
        auto *popover = w.view->findChild<SettingsPopoverView *>();
        QTRY_VERIFY(popover && popover->isVisible());
        QVERIFY(w.view->showSettings());
        // Clicking elsewhere closes a popup; the view learns it.
        popover->hide();
        QVERIFY(!w.view->showSettings());
        QTest::mouseClick(w.settingsButton(), Qt::LeftButton);
        QTRY_VERIFY(popover->isVisible());
    }

    void findShortcutFocusesTheSearchField() {
        Window w;
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        w.window.activateWindow();
        w.settingsButton()->setFocus();
        QTest::keySequence(&w.window, QKeySequence::Find);
        QTRY_VERIFY(w.search()->hasFocus());
        // Its clear button shows over text, with a name for screen readers.
        QTest::keyClicks(w.search(), "xt");
        const QList<QToolButton *> clear = w.search()->findChildren<QToolButton *>();
        QCOMPARE(clear.size(), 1);
        QTRY_VERIFY(clear.front()->isVisible());
        QCOMPARE(clear.front()->accessibleName(), "Clear search");
        // Escape clears it.
        QTest::keyClick(w.search(), Qt::Key_Escape);
        QCOMPARE(w.search()->text(), "");
    }

    // Tab goes from the search to the settings button beside it, then to the list.
    void tabReachesTheSettingsButtonBeforeTheList() {
        Window w;
        QVERIFY(QTest::qWaitForWindowExposed(&w.window));
        w.window.activateWindow();
        QTRY_VERIFY(!w.catalog.isLoading());
        w.search()->setFocus();
        QTest::keyClick(w.search(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.settingsButton());
        QTest::keyClick(w.settingsButton(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.list()->listView());
    }

    void configuresOnlyTheWindowTitledQuellory() {
        QWidget main;
        main.setWindowTitle(MainView::windowTitle);
        main.resize(900, 200);
        QWidget stranger;
        stranger.setWindowTitle("Quellory Preferences");
        stranger.resize(900, 900);
        stranger.show();
        main.show();
        MainView::configureMainWindow();
        // Too wide is held at the maximum, too low goes back to the ideal height, and the other
        // way round.
        QCOMPARE(main.size(), QSize(560, 560));
        QCOMPARE(MainView::correctedSize(QSize(200, 1000)), QSize(460, 780));
        QCOMPARE(MainView::correctedSize(QSize(320, 780)), QSize(320, 780));
        QCOMPARE(main.minimumSize(), MainView::minimumSize);
        QCOMPARE(main.maximumSize(), MainView::maximumSize);
        QCOMPARE(stranger.size(), QSize(900, 900));
        QCOMPARE(stranger.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }
};

QTEST_MAIN(MainViewTest)
#include "tst_mainview.moc"
