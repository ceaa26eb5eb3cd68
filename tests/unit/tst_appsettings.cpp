#include "fakes/FakeLoginItemService.h"
#include "fakes/MemoryDefaultsStore.h"
#include "models/AppSettings.h"
#include "models/LaunchAtLogin.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

using Status = LoginItemService::Status;
Q_DECLARE_METATYPE(Status)

namespace {

// Keeps the values of launchAtLogin that the settings announce, in order.
void record(AppSettings &settings, QList<bool> &announced) {
    QObject::connect(&settings, &AppSettings::launchAtLoginChanged, &settings,
                     [&settings, &announced] { announced.append(settings.launchAtLogin()); });
}

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
        QTest::newRow("a date is no Boolean")
            << QVariant(QDateTime::fromSecsSinceEpoch(0)) << Status::enabled << true << true;
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
        MemoryDefaultsStore defaults;
        FakeLoginItemService service;
        AppSettings settings(defaults, service);
        QSignalSpy changed(&settings, &AppSettings::showMenuBarIconChanged);
        settings.setShowMenuBarIcon(true);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(defaults.values.value(AppSettings::showMenuBarIconKey), QVariant(true));

        settings.setShowMenuBarIcon(false);
        QCOMPARE(changed.count(), 1);
        defaults.values.clear();
        settings.setShowMenuBarIcon(false);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(defaults.values.value(AppSettings::showMenuBarIconKey), QVariant(false));
        QVERIFY(!AppSettings(defaults, service).showMenuBarIcon());
    }

    void launchAtLoginEndsAsTheServiceReports_data() {
        QTest::addColumn<Status>("statusAtCreation");
        QTest::addColumn<Status>("statusWhenAssigned");
        QTest::addColumn<bool>("assigned");
        QTest::addColumn<Status>("statusAfterRegistering");
        QTest::addColumn<bool>("serviceFails");
        QTest::addColumn<QList<bool>>("announced");
        QTest::addColumn<int>("registerCalls");
        QTest::addColumn<int>("unregisterCalls");
        QTest::addColumn<int>("settingsOpened");
        const Status off = Status::notRegistered;
        const Status on = Status::enabled;
        const Status approval = Status::requiresApproval;
        QTest::newRow("on") << off << off << true << on << false << QList{true} << 1 << 0 << 0;
        QTest::newRow("on, already registered elsewhere")
            << off << on << true << on << false << QList{true} << 0 << 0 << 0;
        QTest::newRow("on, awaiting approval")
            << off << off << true << approval << false << QList{true, false} << 1 << 0 << 1;
        QTest::newRow("on again while awaiting approval")
            << approval << approval << true << approval << false << QList{true, false} << 1 << 0
            << 1;
        QTest::newRow("on, registration fails")
            << off << off << true << on << true << QList{true, false} << 1 << 0 << 0;
        QTest::newRow("off") << on << on << false << on << false << QList{false} << 0 << 1 << 0;
        QTest::newRow("off, already unregistered elsewhere")
            << on << off << false << on << false << QList{false} << 0 << 0 << 0;
        QTest::newRow("off, application not found")
            << on << Status::notFound << false << on << false << QList{false} << 0 << 1 << 0;
        QTest::newRow("off, unregistration fails")
            << on << on << false << on << true << QList{false, true} << 0 << 1 << 0;
        QTest::newRow("the value it has, though the service differs")
            << off << on << false << on << false << QList<bool>() << 0 << 0 << 0;
    }
    void launchAtLoginEndsAsTheServiceReports() {
        QFETCH(Status, statusAtCreation);
        QFETCH(bool, assigned);
        QFETCH(bool, serviceFails);
        QFETCH(QList<bool>, announced);
        MemoryDefaultsStore defaults;
        FakeLoginItemService service;
        service.current = statusAtCreation;
        AppSettings settings(defaults, service);
        const bool initial = settings.launchAtLogin();
        QList<bool> announcements;
        record(settings, announcements);
        QFETCH(Status, statusWhenAssigned);
        QFETCH(Status, statusAfterRegistering);
        service.current = statusWhenAssigned;
        service.statusAfterRegistering = statusAfterRegistering;
        if (serviceFails) {
            service.registerError = QString("Operation not permitted");
            service.unregisterError = QString("Operation not permitted");
        }

        settings.setLaunchAtLogin(assigned);
        QCOMPARE(announcements, announced);
        QCOMPARE(settings.launchAtLogin(), announced.isEmpty() ? initial : announced.last());
        QTEST(service.registerCalls, "registerCalls");
        QTEST(service.unregisterCalls, "unregisterCalls");
        QTEST(service.settingsOpened, "settingsOpened");
        QVERIFY(defaults.values.isEmpty());
    }

    void aFailedChangeCarriesTheServicesError() {
        FakeLoginItemService service;
        service.current = Status::enabled;
        service.unregisterError = QString("Read-only file system");
        const auto error = LaunchAtLogin::setEnabled(service, false);
        QVERIFY(error && error->error == LaunchAtLogin::ServiceError::Case::registrationFailed);
        QCOMPARE(error->serviceError, QString("Read-only file system"));
    }

    void syncTakesUpTheServicesStatusWithoutActingOnIt_data() {
        QTest::addColumn<Status>("statusAtCreation");
        QTest::addColumn<Status>("statusNow");
        QTest::addColumn<QList<bool>>("announced");
        QTest::newRow("approved since")
            << Status::requiresApproval << Status::enabled << QList{true};
        QTest::newRow("removed elsewhere")
            << Status::enabled << Status::notRegistered << QList{false};
        QTest::newRow("unchanged") << Status::enabled << Status::enabled << QList<bool>();
    }
    void syncTakesUpTheServicesStatusWithoutActingOnIt() {
        QFETCH(Status, statusAtCreation);
        QFETCH(Status, statusNow);
        MemoryDefaultsStore defaults;
        FakeLoginItemService service;
        service.current = statusAtCreation;
        AppSettings settings(defaults, service);
        QList<bool> announcements;
        record(settings, announcements);
        service.current = statusNow;
        settings.syncLaunchAtLoginFromSystem();
        QTEST(announcements, "announced");
        QCOMPARE(settings.launchAtLogin(), statusNow == Status::enabled);
        QCOMPARE(service.registerCalls + service.unregisterCalls + service.settingsOpened, 0);
    }

    // A reader that writes the setting while the program itself updates it (a view echoing a
    // stale value) must not register or unregister anything.
    void writesDuringAnUpdateDoNotReachTheService() {
        MemoryDefaultsStore defaults;
        FakeLoginItemService service;
        AppSettings settings(defaults, service);
        service.current = Status::enabled;
        bool hasEchoed = false;
        connect(&settings, &AppSettings::launchAtLoginChanged, &settings, [&] {
            if (!std::exchange(hasEchoed, true))
                settings.setLaunchAtLogin(false);
        });
        settings.syncLaunchAtLoginFromSystem();
        QVERIFY(hasEchoed);
        QCOMPARE(service.registerCalls + service.unregisterCalls, 0);
    }
};

QTEST_GUILESS_MAIN(AppSettingsTest)
#include "tst_appsettings.moc"
