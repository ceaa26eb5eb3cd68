#include "fakes/WriteFile.h"
#include "models/AppCatalog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// GIO names a struct member "signals", which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <cstdio>

namespace {

const QString listGioArgument = QStringLiteral("--list-gio-applications");
const QString mailHandlerArgument = QStringLiteral("--mail-handler");

// GIO's own view, printed by a child process: GIO reads the environment and the folders once
// per process, so every listing needs a fresh one.
int printGioApplications() {
    GList *infos = g_app_info_get_all();
    for (GList *item = infos; item; item = item->next) {
        auto *info = G_APP_INFO(item->data);
        if (g_app_info_should_show(info))
            std::printf("%s\t%s\n", g_app_info_get_id(info), g_app_info_get_name(info));
    }
    g_list_free_full(infos, g_object_unref);
    return 0;
}

// GIO's applications and the catalog's, as sorted "id<TAB>name" lines, the IDs without suffix.
std::pair<QStringList, QStringList> gioAndCatalog() {
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {listGioArgument});
    if (!child.waitForFinished(30000) || child.exitCode() != 0)
        return {{"GIO listing failed: " + child.readAllStandardError()}, {}};
    QStringList gio =
        QString::fromUtf8(child.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    gio.replaceInStrings(".desktop\t", "\t");
    QStringList catalog;
    for (const auto &entry : AppCatalog::scanInstalledApps(DesktopEntryApplications()))
        catalog << entry.bundleID + '\t' + entry.name;
    gio.sort();
    catalog.sort();
    return {gio, catalog};
}

QByteArray app(const QByteArray &lines) {
    return "[Desktop Entry]\nType=Application\nExec=true\nName=App\n" + lines;
}

// Desktop files that GIO treats in every way it has. "user" is the user's data folder, "first"
// and "second" the system's; the applications folder of "first" is also first on $PATH.
const QList<std::pair<QString, QByteArray>> trickyTree{
    // A user's copy claims the ID of the system's entry, whether it is shown or not readable.
    {"user/hidden-override.desktop", app("Name=Mine\nHidden=true\n")},
    {"first/hidden-override.desktop", app("Name=System\n")},
    {"user/broken-override.desktop", app("Name=Mine\nthis line means nothing\n")},
    {"first/broken-override.desktop", app("Name=System\n")},
    {"user/shown-override.desktop", app("Name=Mine\n")},
    {"second/shown-override.desktop", app("Name=System\n")},
    // Subfolders name their entries.
    {"user/wine/Programs/notepad.desktop", app("Name=Notepad\n")},
    {"second/wine-Programs-notepad.desktop", app("Name=Other Notepad\n")},
    // Desktops: the first of XDG_CURRENT_DESKTOP that either list names decides.
    {"first/only-first.desktop", app("OnlyShowIn=Frost;\n")},
    {"first/only-second.desktop", app("OnlyShowIn=Glade;Moss;\n")},
    {"first/mixed.desktop", app("OnlyShowIn=Glade;\nNotShowIn=Frost;\n")},
    {"first/only-empty.desktop", app("OnlyShowIn=\n")},
    {"first/only-escaped.desktop", app("OnlyShowIn=Fr\\;ost;M\\oss;\n")},
    // Programs: TryExec and the program of Exec must be installed and executable.
    {"first/tryexec-missing.desktop", app("TryExec=quellory-none\n")},
    {"first/tryexec-plain.desktop", app("TryExec=quellory-plain\n")},
    {"first/tryexec-absolute.desktop", app("TryExec=/etc/passwd\n")},
    {"first/exec-missing.desktop", app("Exec=quellory-none %U\n")},
    {"first/exec-quoted.desktop", app("Exec=  \"sh\" -c 'true'\n")},
    {"first/exec-unbalanced.desktop", app("Exec=\"sh -c true\n")},
    // Types and flags.
    {"first/link.desktop", "[Desktop Entry]\nType=Link\nName=Link\nURL=https://example.org\n"},
    {"first/nodisplay.desktop", app("NoDisplay=true  \n")},
    {"first/nodisplay-capital.desktop", app("NoDisplay=True\n")},
    // Names: translations, escapes, comments, groups, line ends.
    {"first/country.desktop", app("Name=Plain\nName[sr]=Sr\nName[sr_RS]=Srbija\nName[de]=De\n"
                                  "Name[de_AT]=Österreich\nName[sr@latin]=Latinica\n")},
    {"first/modifier.desktop", app("Name=Plain\nName[sr]=Sr\nName[sr@latin]=Latinica\n"
                                   "Name[sr_RS@latin]=Bad\xff\nName[DE]=Upper\n")},
    {"first/escapes.desktop", app("Name=\\sTab\\there\\\\back\\x and\\;semi  \nName[de]=End\\")},
    {"first/comments.desktop", "# top\n\n[Desktop Entry]\r\n  # indented\nType=Application\r\n"
                               "#Name=Commented\nName = Spaced\r\n[Desktop Action new]\nName=Act\n"
                               "[Desktop Entry]\nExec=true\nComment=caf\xe9\n"},
    // Files that GKeyFile refuses.
    {"first/key-before-group.desktop", "Name=Early\n" + app("Name=Late\n")},
    {"first/bad-locale.desktop", app("Name[de!]=x\n")},
    // On $PATH, but not executable.
    {"first/quellory-plain", "#!/bin/sh\n"},
};

} // namespace

class CatalogMatchesGioTest : public QObject {
    Q_OBJECT

private slots:
    void thisMachinesFolders() {
        const auto [gio, catalog] = gioAndCatalog();
        QCOMPARE(catalog, gio);
        QVERIFY(catalog.contains("debian-xterm\tXTerm"));
    }

    void trickyFolders_data() {
        // XDG_CURRENT_DESKTOP, LANGUAGE and LC_ALL
        QTest::addColumn<QStringList>("environment");
        QTest::newRow("two desktops, language list")
            << QStringList{"Frost:Glade", "sr_RS@latin:de", "C"};
        QTest::newRow("second desktop, locale only") << QStringList{"Glade", "", "sr_RS.UTF-8"};
        QTest::newRow("country and modifier") << QStringList{"Moss", "", "de_AT.UTF-8@euro"};
        // GLib names "de" twice: once for "de_AT", once for itself.
        QTest::newRow("language named twice") << QStringList{"Frost", "de_AT:de", "C"};
        QTest::newRow("empty desktop names, untranslated") << QStringList{"::", "", "C"};
    }
    void trickyFolders() {
        QFETCH(QStringList, environment);
        QTemporaryDir tree;
        const QDir root(tree.path());
        for (const auto &[path, content] : trickyTree)
            QVERIFY(writeFile(
                root.filePath(path.section('/', 0, 0) + "/applications/" + path.section('/', 1)),
                content));
        for (const char *name : {"XDG_CURRENT_DESKTOP", "LANGUAGE", "LC_ALL"})
            qputenv(name, environment.takeFirst().toUtf8());
        qputenv("XDG_DATA_HOME", root.filePath("user").toUtf8());
        // The first system folder twice: GIO masks the copy, the catalog drops it.
        qputenv("XDG_DATA_DIRS", (root.filePath("first") + ':' + root.filePath("second") + ':' +
                                  root.filePath("first/"))
                                     .toUtf8());
        qputenv("PATH", root.filePath("first/applications").toUtf8() + ":/usr/bin:/bin");

        const auto [gio, catalog] = gioAndCatalog();

        QCOMPARE(catalog, gio);
        QVERIFY(catalog.contains("shown-override\tMine"));
    }

    // The support link is offered only when a mail program would open it.
    void findsTheMailProgramOnlyWhenOneIsInstalled() {
        QTemporaryDir tree;
        const QDir root(tree.path());
        QVERIFY(QDir().mkpath(root.filePath("data/applications")));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", root.filePath("data"));
        environment.insert("XDG_DATA_DIRS", root.filePath("system"));
        environment.insert("XDG_CONFIG_HOME", root.filePath("config"));
        environment.insert("XDG_CONFIG_DIRS", root.filePath("config-system"));
        const auto handler = [&environment] {
            QProcess child;
            child.setProcessEnvironment(environment);
            child.start(QCoreApplication::applicationFilePath(), {mailHandlerArgument});
            child.waitForFinished(30000);
            return QString::fromUtf8(child.readAllStandardOutput());
        };
        QCOMPARE(handler(), "none");
        const QString mail = root.filePath("data/applications/mail.desktop");
        QVERIFY(writeFile(mail, app("MimeType=x-scheme-handler/mailto;\n")));
        // GIO finds handlers through the cache that a package's installation updates.
        QCOMPARE(QProcess::execute("update-desktop-database", {root.filePath("data/applications")}),
                 0);
        QCOMPARE(handler(), mail);
    }
};

int main(int argc, char **argv) {
    if (argc == 2 && argv[1] == listGioArgument)
        return printGioApplications();
    if (argc == 2 && argv[1] == mailHandlerArgument) {
        std::printf("%s", qPrintable(DesktopEntryApplications().pathForUrlScheme("mailto").value_or(
                              QStringLiteral("none"))));
        return 0;
    }
    QCoreApplication application(argc, argv);
    CatalogMatchesGioTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_catalogmatchesgio.moc"
