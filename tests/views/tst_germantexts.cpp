#include "app/QuelloryApp.h"
#include "fakes/AppsListFixture.h"
#include "fakes/FakeLoginItemService.h"
#include "fakes/FakeUpdater.h"
#include "models/AppSettings.h"
#include "views/MainView.h"
#include "views/SettingsPopoverView.h"
#include "views/Translations.h"
#include "views/UpdateDialog.h"
#include "views/ViewEnvironment.h"

#include <QAccessible>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

namespace {

QStringList texts(const QMenu &menu) {
    QStringList texts;
    for (const QAction *action : menu.actions())
        if (!action->isSeparator())
            texts << action->text();
    return texts;
}

} // namespace

// The program as a user with LANG=de_DE.UTF-8 meets it: a few texts of each window, counted
// texts in German grammar, and Qt's own buttons in German too.
class GermanTextsTest : public QObject {
    Q_OBJECT

    struct Program : AppsListSession {
        FakeLoginItemService loginItems;
        AppSettings settings{defaults, loginItems};
        FakeUpdater updater;
        QuelloryApp app{ViewEnvironment{settings, monitor, catalog, usage, icons, actions, bundles},
                        workspace, time, updater};
    };

private slots:
    void initTestCase() {
        QCOMPARE(QLocale::system().language(), QLocale::German);
        Translations::install(QLocale::system());
    }

    void mainWindowAndItsSettings() {
        Program program;
        QMainWindow &window = program.app.mainWindow();
        QCOMPARE(window.findChild<QLineEdit *>()->placeholderText(), "Apps suchen");
        QCOMPARE(texts(*window.menuBar()->actions().front()->menu()),
                 QStringList({"Über Quellory", "Nach Updates suchen …", "Beenden"}));
        QCOMPARE(AppsListSelection::selectionSummary(1, 2), "3 ausgewählt");
        QCOMPARE(AppsListSelection::selectionSummary(0, 1), "1 zum Beenden ausgewählt");
        QCOMPARE(AppsListSelection::actionButtonTitle(1, 2), "1 App öffnen & 2 Apps beenden");

        window.findChild<MainView *>()->setShowSettings(true);
        const auto *settings = window.findChild<SettingsPopoverView *>();
        QStringList heard;
        for (QWidget *part : settings->findChildren<QWidget *>())
            heard << QAccessible::queryAccessibleInterface(part)->text(QAccessible::Name);
        QVERIFY(heard.contains("Beim Anmelden starten"));
        QVERIFY(heard.contains("Probleme? Schreiben Sie uns ↗"));
    }

    void trayMenu() {
        Program program;
        program.launch("org.example.Mail", "Mail", 10);
        AppDelegate &delegate = program.app.appDelegate();
        delegate.rebuildStatusMenu();
        QCOMPARE(texts(delegate.statusMenu()),
                 QStringList(
                     {"Quellory", "Laufende Apps", "Mail beenden", "Quellory öffnen", "Beenden"}));
        QCOMPARE(AppDelegate::statusAccessibilityLabel(1), "Quellory, 1 laufende App");
        QCOMPARE(AppDelegate::statusAccessibilityLabel(2), "Quellory, 2 laufende Apps");
    }

    void updateDialog() {
        UpdateDialog dialog([](const QUrl &) {});
        dialog.showUpdateAvailable("2.0", "1.0", QUrl("https://quellory.app/download"));
        QMessageBox *box = nullptr;
        for (QWidget *window : QApplication::topLevelWidgets())
            if (auto *shown = qobject_cast<QMessageBox *>(window); shown && shown->isVisible())
                box = shown;
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), "Softwareaktualisierung");
        QCOMPARE(box->text(), "Eine neue Version von Quellory ist verfügbar");
        QStringList buttons;
        for (const QAbstractButton *button : box->buttons())
            buttons << button->text();
        buttons.sort();
        QCOMPARE(buttons, QStringList({"Herunterladen", "Schließen"}));
    }
};

QTEST_MAIN(GermanTextsTest)
#include "tst_germantexts.moc"
