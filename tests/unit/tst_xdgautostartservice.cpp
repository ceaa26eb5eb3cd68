#include "fakes/FifoReaderGuard.h"
#include "fakes/WriteFile.h"
#include "platform/linux/freedesktop/XdgAutostartService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

using Status = LoginItemService::Status;
Q_DECLARE_METATYPE(Status)

namespace {

const QString entryName = QStringLiteral("app.quellory.Quellory.desktop");

QByteArray read(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The entry's keys, as they are written.
QString key(const QString &path, const QString &name) {
    return QSettings(path, QSettings::IniFormat).value("Desktop Entry/" + name).toString();
}

QString run(const QString &program, const QStringList &arguments, int *exitCode) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished();
    *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromLocal8Bit(process.readAll());
}

} // namespace

class XdgAutostartServiceTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dataHome;
    QString m_installedEntry;

private slots:
    void initTestCase() {
        // GLib reads the data folders once, at its first use: the program's own desktop entry is
        // installed only here.
        QVERIFY(m_dataHome.isValid());
        m_installedEntry = m_dataHome.filePath("applications/" + entryName);
        QVERIFY(writeFile(m_installedEntry, "[Desktop Entry]\nType=Application\nName=Quellory\n"));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path()));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(m_dataHome.filePath("nothing")));
    }

    void registeringWritesAnEntryThatTheDesktopStarts() {
        QTemporaryDir folder;
        // Characters that an Exec line must quote or escape. (GIO refuses a program whose path
        // holds a percent sign before it would expand the escape.)
        const QString program = folder.filePath("it's \"my\" $HOME `x` \\ (1) ~&;*?#<>|/start");
        QVERIFY(writeFile(program, "#!/bin/sh\ntouch \"$0.started\"\n"));
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        const QString path = folder.filePath("autostart/" + entryName);
        XdgAutostartService service(path, XdgAutostartService::execLine(program));
        QCOMPARE(service.status(), Status::notRegistered);

        QCOMPARE(service.registerService(), std::nullopt);
        QCOMPARE(service.status(), Status::enabled);
        int exitCode = 0;
        const QString complaints = run("desktop-file-validate", {path}, &exitCode);
        QVERIFY2(exitCode == 0 && complaints.isEmpty(), qPrintable(complaints));
        // Desktops start autostart entries through GIO, as gio launch does.
        const QString launchOutput = run("gio", {"launch", path}, &exitCode);
        QVERIFY2(exitCode == 0, qPrintable(launchOutput));
        QTRY_VERIFY(QFile::exists(program + ".started"));
    }

    void eachKindOfFileAtTheEntrysPlace_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<Status>("status");
        const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Quellory\n";
        const QByteArray program = entry + "Exec=quellory\n";
        QByteArray garbage("\x7f"
                           "ELF\n[Desktop Entry\n");
        garbage += '\0';
        garbage += "\xff=\xfe\n";
        QTest::newRow("written by hand") << program << Status::enabled;
        QTest::newRow("off in GNOME's switch") << program + "X-GNOME-Autostart-enabled=false\n"
                                               << Status::notRegistered;
        QTest::newRow("GNOME's switch unreadable, so off")
            << program + "X-GNOME-Autostart-enabled=maybe\n"
            << Status::notRegistered;
        QTest::newRow("hidden") << program + "Hidden=true\n" << Status::notRegistered;
        QTest::newRow("no program") << entry << Status::notRegistered;
        QTest::newRow("garbage") << garbage << Status::notRegistered;
    }
    void eachKindOfFileAtTheEntrysPlace() {
        QFETCH(QByteArray, content);
        QFETCH(Status, status);
        QTemporaryDir folder;
        const QString path = folder.filePath(entryName);
        QVERIFY(writeFile(path, content));
        XdgAutostartService service(path, "quellory-now");
        QCOMPARE(service.status(), status);

        // Only an entry that starts the program is removed; the others stay as they were.
        QCOMPARE(service.unregisterService(), std::nullopt);
        QCOMPARE(service.status(), Status::notRegistered);
        QCOMPARE(read(path), status == Status::enabled ? QByteArray() : content);

        // The user asks for it now, over whatever the file said.
        QCOMPARE(service.registerService(), std::nullopt);
        QCOMPARE(service.status(), Status::enabled);
        QCOMPARE(key(path, "Exec"), "quellory-now");
        QCOMPARE(key(path, "Hidden"), QString());
        QCOMPARE(key(path, "X-GNOME-Autostart-enabled"), "true");
    }

    void registeringReplacesTheFileWholeOrNotAtAll() {
        QTemporaryDir folder;
        const QString path = folder.filePath(entryName);
        const QByteArray turnedOff = "[Desktop Entry]\nExec=quellory\nHidden=true\n";
        QVERIFY(writeFile(path, turnedOff));
        // A second name for the old file shows whether it was rewritten in place.
        const QString oldFile = folder.filePath("old");
        QCOMPARE(
            ::link(QFile::encodeName(path).constData(), QFile::encodeName(oldFile).constData()), 0);
        XdgAutostartService service(path, "quellory");
        QCOMPARE(service.registerService(), std::nullopt);
        QCOMPARE(read(oldFile), turnedOff);
        QCOMPARE(key(path, "Exec"), "quellory");
    }

    void aFifoOrALinkAtTheEntrysPlaceIsReplacedNeverFollowed() {
        QTemporaryDir folder;
        const QString path = folder.filePath(entryName);
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        XdgAutostartService service(path, "quellory");
        Status status = Status::enabled;
        QVERIFY2(endsWithin(5000, {path}, [&] { status = service.status(); }),
                 "a FIFO is not read");
        QCOMPARE(status, Status::notRegistered);
        QCOMPARE(service.registerService(), std::nullopt);
        QCOMPARE(service.status(), Status::enabled);

        const QString target = folder.filePath("target");
        const QByteArray keep = "the user's own file";
        QVERIFY(writeFile(target, keep) && QFile::remove(path) && QFile::link(target, path));
        QCOMPARE(service.registerService(), std::nullopt);
        QCOMPARE(read(target), keep);
        QVERIFY(!QFileInfo(path).isSymLink());
        QCOMPARE(key(path, "Exec"), "quellory");
    }

    void aFolderThatCannotBeMadeIsReported() {
        QTemporaryDir folder;
        QVERIFY(writeFile(folder.filePath("autostart"), "a file where the folder should be"));
        XdgAutostartService service(folder.filePath("autostart/" + entryName), "quellory");
        const std::optional<QString> error = service.registerService();
        QVERIFY(error && !error->isEmpty());
        QCOMPARE(service.status(), Status::notRegistered);
    }

    void theUsersEntryStartsTheProgramAsInstalled_data() {
        QTest::addColumn<QByteArray>("installedEntry");
        QTest::addColumn<QString>("exec");
        const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Quellory\n";
        QTest::newRow("installed") << entry + "Exec=true --from-menu %U\n"
                                   << "true --from-menu %U";
        const QString thisProgram =
            XdgAutostartService::execLine(QCoreApplication::applicationFilePath());
        QTest::newRow("installed, its program missing")
            << entry + "Exec=no-such-program-of-quellory\n"
            << thisProgram;
    }
    void theUsersEntryStartsTheProgramAsInstalled() {
        QFETCH(QByteArray, installedEntry);
        QVERIFY(writeFile(m_installedEntry, installedEntry));
        QTemporaryDir configHome;
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome.path()));
        XdgAutostartService service;
        QCOMPARE(service.path(), configHome.filePath("autostart/" + entryName));
        QCOMPARE(service.registerService(), std::nullopt);
        QTEST(key(service.path(), "Exec"), "exec");

        // A relative path is no configuration folder.
        qputenv("XDG_CONFIG_HOME", "relative/config");
        QCOMPARE(XdgAutostartService().path(),
                 QDir::homePath() + "/.config/autostart/" + entryName);
    }
};

QTEST_GUILESS_MAIN(XdgAutostartServiceTest)
#include "tst_xdgautostartservice.moc"
