#include "fakes/FakeLoginItemService.h"
#include "fakes/MemoryDefaultsStore.h"
#include "models/AppSettings.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

using Status = LoginItemService::Status;
Q_DECLARE_METATYPE(Status)

namespace {

// Settings over a login-item service in the given state, keeping the values of launchAtLogin
// that they announce, in order.
struct Fixture {
    MemoryDefaultsStore defaults;
    FakeLoginItemService service;
    std::optional<AppSettings> settings;
    QList<bool> announced;

    explicit Fixture(Status status) {
        service.current = status;
        settings.emplace(defaults, service);
        QObject::connect(&*settings, &AppSettings::launchAtLoginChanged, &*settings,
                         [this] { announced.append(settings->launchAtLogin()); });
    }
    int serviceCalls() const {
        return service.registerCalls + service.unregisterCalls + service.settingsOpened;
    }
};

} // namespace

class AppSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void creationReadsBothSettingsAndChangesNothing_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<Status>("status");
        QTest::addColumn<bool>("showMenuBarIcon");
        QTest::addColumn<bool>("launchAtLogin");
        QTest::newRow("first run") << QVariant() << Status::notRegistered << true << false;
        QTest::newRow("stored off, registered")
            << QVariant(false) << Status::enabled << false << true;
        QTest::newRow("stored on, awaiting approval")
            << QVariant(true) << Status::requiresApproval << true << false;
        QTest::newRow("a string is no Boolean")
            << QVariant(QString("false")) << Status::notFound << true << false;
    }
    void creationReadsBothSettingsAndChangesNothing() {
        QFETCH(QVariant, stored);
        QFETCH(Status, status);
        MemoryDefaultsStore defaults;
        if (stored.isValid())
            defaults.values.insert(AppSettings::showMenuBarIconKey, stored);
        const auto before = defaults.values;
        FakeLoginItemService service;
        service.current = status;
        const AppSettings settings(defaults, service);
        QTEST(settings.showMenuBarIcon(), "showMenuBarIcon");
        QTEST(settings.launchAtLogin(), "launchAtLogin");
        QCOMPARE(defaults.values, before);
        QCOMPARE(service.registerCalls + service.unregisterCalls + service.settingsOpened, 0);
    }

    void showMenuBarIconIsStoredOnEveryAssignmentAndAnnouncedOnlyWhenChanged() {
        Fixture f(Status::notRegistered);
        QSignalSpy changed(&*f.settings, &AppSettings::showMenuBarIconChanged);
        f.settings->setShowMenuBarIcon(true);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(f.defaults.values.value(AppSettings::showMenuBarIconKey), QVariant(true));
        f.settings->setShowMenuBarIcon(false);
        QCOMPARE(changed.count(), 1);
        f.defaults.values.clear();
        f.settings->setShowMenuBarIcon(false);
        QCOMPARE(changed.count(), 1);
        QVERIFY(!AppSettings(f.defaults, f.service).showMenuBarIcon());
    }

    void launchAtLoginEndsAsTheServiceReports_data() {
        QTest::addColumn<Status>("atCreation");
        QTest::addColumn<Status>("whenAssigned");
        QTest::addColumn<bool>("assigned");
        QTest::addColumn<Status>("afterRegistering");
        QTest::addColumn<bool>("serviceFails");
        QTest::addColumn<QList<bool>>("announced");
        QTest::addColumn<QList<int>>("calls"); // register, unregister, open the settings
        const auto row = [](const char *name, Status atCreation, Status whenAssigned, bool assigned,
                            Status afterRegistering, bool serviceFails,
                            const QList<bool> &announced, const QList<int> &calls) {
            QTest::newRow(name) << atCreation << whenAssigned << assigned << afterRegistering
                                << serviceFails << announced << calls;
        };
        const Status off = Status::notRegistered, on = Status::enabled;
        const Status approval = Status::requiresApproval;
        row("on", off, off, true, on, false, {true}, {1, 0, 0});
        row("on, already registered elsewhere", off, on, true, on, false, {true}, {0, 0, 0});
        row("on, awaiting approval", off, off, true, approval, false, {true, false}, {1, 0, 1});
        row("on again while awaiting approval", approval, approval, true, approval, false,
            {true, false}, {1, 0, 1});
        row("on, registration fails", off, off, true, on, true, {true, false}, {1, 0, 0});
        row("off", on, on, false, on, false, {false}, {0, 1, 0});
        row("off, already unregistered elsewhere", on, off, false, on, false, {false}, {0, 0, 0});
        row("off, application not found", on, Status::notFound, false, on, false, {false},
            {0, 1, 0});
        row("off, unregistration fails", on, on, false, on, true, {false, true}, {0, 1, 0});
        row("the value it has, though the service differs", off, on, false, on, false, {},
            {0, 0, 0});
    }
    void launchAtLoginEndsAsTheServiceReports() {
        QFETCH(Status, atCreation);
        QFETCH(Status, whenAssigned);
        QFETCH(bool, assigned);
        QFETCH(Status, afterRegistering);
        QFETCH(bool, serviceFails);
        QFETCH(QList<bool>, announced);
        Fixture f(atCreation);
        const bool initial = f.settings->launchAtLogin();
        f.service.current = whenAssigned;
        f.service.statusAfterRegistering = afterRegistering;
        if (serviceFails)
            f.service.registerError = f.service.unregisterError = "Operation not permitted";

        f.settings->setLaunchAtLogin(assigned);
        QCOMPARE(f.announced, announced);
        QCOMPARE(f.settings->launchAtLogin(), announced.isEmpty() ? initial : announced.last());
        QTEST((QList{f.service.registerCalls, f.service.unregisterCalls, f.service.settingsOpened}),
              "calls");
        QVERIFY(f.defaults.values.isEmpty());
    }

    void syncTakesUpTheServicesStatusWithoutActingOnIt_data() {
        QTest::addColumn<Status>("atCreation");
        QTest::addColumn<Status>("now");
        QTest::addColumn<QList<bool>>("announced");
        QTest::newRow("approved since")
            << Status::requiresApproval << Status::enabled << QList{true};
        QTest::newRow("removed elsewhere")
            << Status::enabled << Status::notRegistered << QList{false};
        QTest::newRow("unchanged") << Status::enabled << Status::enabled << QList<bool>();
    }
    void syncTakesUpTheServicesStatusWithoutActingOnIt() {
        QFETCH(Status, atCreation);
        QFETCH(Status, now);
        Fixture f(atCreation);
        f.service.current = now;
        f.settings->syncLaunchAtLoginFromSystem();
        QTEST(f.announced, "announced");
        QCOMPARE(f.settings->launchAtLogin(), now == Status::enabled);
        QCOMPARE(f.serviceCalls(), 0);
    }

    // A reader that writes the setting while the program itself updates it (a view echoing a
    // stale value) must not register or unregister anything.
    void writesDuringAnUpdateDoNotReachTheService() {
        Fixture f(Status::notRegistered);
        f.service.current = Status::enabled;
        bool hasEchoed = false;
        connect(&*f.settings, &AppSettings::launchAtLoginChanged, &*f.settings, [&] {
            if (!std::exchange(hasEchoed, true))
                f.settings->setLaunchAtLogin(false);
        });
        f.settings->syncLaunchAtLoginFromSystem();
        QVERIFY(hasEchoed);
        QCOMPARE(f.serviceCalls(), 0);
    }
};

QTEST_GUILESS_MAIN(AppSettingsTest)
#include "tst_appsettings.moc"
