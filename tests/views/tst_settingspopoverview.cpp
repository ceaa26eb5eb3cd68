#include "fakes/FakeLoginItemService.h"
#include "fakes/MemoryDefaultsStore.h"
#include "models/AppSettings.h"
#include "views/SettingsPopoverView.h"
#include "views/SettingToggleRow.h"
#include "views/ToggleSwitch.h"

#include <QApplication>
#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

namespace {

ToggleSwitch *switchNamed(const QWidget &view, const QString &name) {
    for (ToggleSwitch *toggle : view.findChildren<ToggleSwitch *>())
        if (toggle->accessibleName() == name)
            return toggle;
    return nullptr;
}

// The popover as the main window shows it: a popup below a toolbar button.
struct PoppedUp {
    MemoryDefaultsStore defaults;
    FakeLoginItemService service;
    AppSettings settings{defaults, service};
    QList<QUrl> mailed;
    bool hasMailProgram = true;
    QWidget window;
    QPushButton *anchor = new QPushButton("Settings", &window);
    SettingsPopoverView view;

    explicit PoppedUp(const SupportMail::About &about = {"1.4", "27", "Debian GNU/Linux 12"})
        : view(settings,
               SupportMail(
                   "support@quellory.app", about, [this](const QUrl &url) { mailed.append(url); },
                   [this](const QUrl &url) { return hasMailProgram && url.scheme() == "mailto"; }),
               &window) {}

    bool popUp() {
        anchor->move(200, 10);
        window.resize(600, 400);
        window.show();
        if (!QTest::qWaitForWindowExposed(&window))
            return false;
        view.popUp(anchor);
        return QTest::qWaitForWindowExposed(&view);
    }
    ToggleSwitch *launchAtLogin() const { return switchNamed(view, "Launch at Login"); }
    ToggleSwitch *showMenuBarIcon() const { return switchNamed(view, "Show Menu Bar Icon"); }
    QPushButton *supportLink() const { return view.findChild<QPushButton *>(); }
};

} // namespace

class SettingsPopoverViewTest : public QObject {
    Q_OBJECT

private slots:
    void switchesWriteThroughAndShowChangesMadeElsewhere() {
        PoppedUp popover;
        QVERIFY(popover.popUp());
        ToggleSwitch *showIcon = popover.showMenuBarIcon();
        QVERIFY(showIcon && showIcon->isChecked());
        QTest::mouseClick(showIcon, Qt::LeftButton);
        QVERIFY(!popover.settings.showMenuBarIcon());
        QCOMPARE(popover.defaults.values.value(AppSettings::showMenuBarIconKey), QVariant(false));
        QVERIFY(!showIcon->isChecked());
        popover.settings.setShowMenuBarIcon(true);
        QVERIFY(showIcon->isChecked());

        // A registration that waits for approval opens the system's settings and turns back.
        ToggleSwitch *launch = popover.launchAtLogin();
        popover.service.statusAfterRegistering = LoginItemService::Status::requiresApproval;
        QTest::mouseClick(launch, Qt::LeftButton);
        QCOMPARE(popover.service.settingsOpened, 1);
        QVERIFY(!launch->isChecked());
        QVERIFY(!popover.settings.launchAtLogin());

        // Approved there; the popover shows it the next time it opens.
        popover.service.current = LoginItemService::Status::enabled;
        popover.view.hide();
        QVERIFY(!launch->isChecked());
        popover.view.popUp(popover.anchor);
        QVERIFY(launch->isChecked());
        QVERIFY(popover.settings.launchAtLogin());
        QCOMPARE(popover.service.registerCalls, 1);
    }

    void opensBelowItsAnchorAndClosesOnAClickElsewhere() {
        PoppedUp popover;
        QSignalSpy hidden(&popover.view, &SettingsPopoverView::hidden);
        QVERIFY(popover.popUp());
        QCOMPARE(popover.view.windowType(), Qt::Popup);
        const QRect anchor(popover.anchor->mapToGlobal(QPoint(0, 0)), popover.anchor->size());
        QCOMPARE(popover.view.geometry().top(), anchor.bottom() + 1);
        QCOMPARE(popover.view.x(), anchor.center().x() - popover.view.width() / 2);
        // Tall enough for everything in it, inset by 16.
        QCOMPARE(popover.view.height() - 1 - popover.supportLink()->geometry().bottom(), 16);

        // Clicks go through the window system, which hands them to the open popup. The
        // anchor's own click closes the popover without opening it again.
        QWindow *window = popover.window.windowHandle();
        QSignalSpy anchorClicked(popover.anchor, &QPushButton::clicked);
        QTest::mouseClick(window, Qt::LeftButton, {}, popover.anchor->geometry().center());
        QVERIFY(popover.view.isHidden());
        QCOMPARE(hidden.count(), 1);
        QCOMPARE(anchorClicked.count(), 0);

        popover.view.popUp(popover.anchor);
        QTest::mouseClick(window, Qt::LeftButton, {}, QPoint(500, 300));
        QVERIFY(popover.view.isHidden());
        QCOMPARE(hidden.count(), 2);
    }

    void aLongDescriptionWrapsBesideTheSwitchAtTheTopRight() {
        QWidget column;
        column.setFixedWidth(268);
        auto *layout = new QVBoxLayout(&column);
        layout->setContentsMargins(QMargins());
        auto *oneLine = new SettingToggleRow("Launch at Login", "Start at sign-in.");
        auto *wrapping = new SettingToggleRow(
            "Show Menu Bar Icon",
            "Hide the icon for a cleaner panel. Quellory stays in your task bar so you can "
            "reopen it, and it keeps watching which applications run while it is hidden.");
        layout->addWidget(oneLine);
        layout->addWidget(wrapping);
        column.resize(268, column.heightForWidth(268));
        column.show();
        QVERIFY(QTest::qWaitForWindowExposed(&column));

        QVERIFY(wrapping->height() > oneLine->height());
        for (const SettingToggleRow *row : {oneLine, wrapping}) {
            const ToggleSwitch *toggle = row->findChild<ToggleSwitch *>();
            QCOMPARE(toggle->geometry().topRight(), QPoint(row->width() - 1, 0));
            const QLabel *description = row->findChildren<QLabel *>().constLast();
            QVERIFY(description->geometry().bottom() < row->height());
            QCOMPARE(description->height(), description->heightForWidth(description->width()));
            QCOMPARE(toggle->x() - description->geometry().right() - 1, 32);
        }
        const QLabel *description = wrapping->findChildren<QLabel *>().constLast();
        QVERIFY(description->height() >= 3 * description->fontMetrics().lineSpacing());
    }

    void theSupportLinkMailsVersionBuildAndSystem_data() {
        QTest::addColumn<SupportMail::About>("about");
        QTest::addColumn<QByteArray>("body"); // as the address carries it
        QTest::newRow("version 1.4, build 27")
            << SupportMail::About{"1.4", "27", "Debian GNU/Linux 12 (bookworm)"}
            << QByteArray("%0A%0A---%0AQuellory%201.4%20(27)%0ALinux%20Debian%20GNU/"
                          "Linux%2012%20(bookworm)");
        QTest::newRow("no version information")
            << SupportMail::About{"", "", "Fedora Linux 40"}
            << QByteArray("%0A%0A---%0AQuellory%20unknown%20(?)%0ALinux%20Fedora%20Linux%2040");
    }
    void theSupportLinkMailsVersionBuildAndSystem() {
        QFETCH(SupportMail::About, about);
        QFETCH(QByteArray, body);
        PoppedUp popover(about);
        QVERIFY(popover.popUp());
        QPushButton *link = popover.supportLink();
        QCOMPARE(link->text(), "Facing issues? Contact us ↗");
        QCOMPARE(link->toolTip(), "Open Mail to email support");
        QTest::mouseClick(link, Qt::LeftButton);
        QCOMPARE(popover.mailed,
                 QList{QUrl::fromEncoded(
                     "mailto:support@quellory.app?subject=Quellory%20Support&body=" + body)});
    }

    // Without a mail program the link would open nothing: it is off, and says where to write.
    void withoutAMailProgramTheLinkTellsTheAddress() {
        PoppedUp popover;
        popover.hasMailProgram = false;
        QVERIFY(popover.popUp());
        QPushButton *link = popover.supportLink();
        QVERIFY(!link->isEnabled());
        QCOMPARE(link->toolTip(),
                 "No mail program is set up. Write to support@quellory.app from your mail.");
        link->click();
        QVERIFY(popover.mailed.isEmpty());
        popover.view.hide();
        popover.hasMailProgram = true;
        QVERIFY(popover.popUp());
        QVERIFY(link->isEnabled());
        QTest::mouseClick(link, Qt::LeftButton);
        QCOMPARE(popover.mailed.size(), 1);
    }

    // A theme changed while the program runs.
    void dimmedTextsFollowTheTheme() {
        PoppedUp popover;
        QVERIFY(popover.popUp());
        const QLabel *description = popover.view.findChildren<QLabel *>().constLast();
        const QPushButton *link = popover.supportLink();
        const QPalette original = QApplication::palette();
        QPalette dark = original;
        dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
        dark.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
        QApplication::setPalette(dark);
        QTRY_COMPARE(description->palette().color(description->foregroundRole()),
                     QColor(0x90, 0x90, 0x90));
        QTRY_COMPARE(link->palette().color(QPalette::ButtonText), QColor(0x90, 0x90, 0x90));
        QApplication::setPalette(original);
    }

    void theKeyboardReachesBothSwitchesAndTheLink() {
        PoppedUp popover;
        QVERIFY(popover.popUp());
        QList<QWidget *> reached;
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(&popover.view, Qt::Key_Tab);
            reached.append(QApplication::focusWidget());
        }
        QCOMPARE(reached, (QList<QWidget *>{popover.launchAtLogin(), popover.showMenuBarIcon(),
                                            popover.supportLink()}));

        QTest::keyClick(popover.supportLink(), Qt::Key_Space);
        QCOMPARE(popover.mailed.size(), 1);
        QTest::keyClick(&popover.view, Qt::Key_Backtab);
        QCOMPARE(QApplication::focusWidget(), popover.showMenuBarIcon());
        QTest::keyClick(popover.showMenuBarIcon(), Qt::Key_Space);
        QVERIFY(!popover.settings.showMenuBarIcon());
        QVERIFY(!popover.showMenuBarIcon()->isChecked());
    }
};

QTEST_MAIN(SettingsPopoverViewTest)
#include "tst_settingspopoverview.moc"
