#include "models/AppCatalog.h"
#include "platform/linux/DesktopEntryApplications.h"

#include <QDir>
#include <QFile>
#include <QHash>
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

// "id<TAB>name" lines, the ID without ".desktop", sorted.
QStringList gioApplications() {
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {listGioArgument});
    if (!child.waitForFinished(30000) || child.exitCode() != 0)
        return {QStringLiteral("GIO listing failed: ") + child.readAllStandardError()};
    QStringList lines = QString::fromUtf8(child.readAllStandardOutput()).split('\n');
    lines.removeAll(QString());
    for (QString &line : lines)
        line.replace(QStringLiteral(".desktop\t"), QStringLiteral("\t"));
    lines.sort();
    return lines;
}

QStringList catalogApplications() {
    const DesktopEntryApplications applications;
    QStringList lines;
    for (const auto &entry : AppCatalog::scanInstalledApps(applications))
        lines << entry.bundleID + '\t' + entry.name;
    lines.sort();
    return lines;
}

void setEnvironment(const char *name, const QString &value) {
    if (value.isNull())
        qunsetenv(name);
    else
        qputenv(name, value.toUtf8());
}

// Desktop files that GIO treats in every way it has, by path under the temporary tree. The
// user's folder is "user", the system folders "first" and "second"; "bin" is on $PATH.
const QList<std::pair<QString, QByteArray>> &trickyTree() {
    static const QList<std::pair<QString, QByteArray>> files{
        // Overrides in the user's folder claim the ID of the system's entry.
        {"user/hidden-override.desktop", "[Desktop Entry]\nType=Application\nName=Mine\n"
                                         "Exec=true\nHidden=true\n"},
        {"first/hidden-override.desktop", "[Desktop Entry]\nType=Application\nName=System\n"
                                          "Exec=true\n"},
        {"user/nodisplay-override.desktop", "[Desktop Entry]\nType=Application\nName=Mine\n"
                                            "Exec=true\nNoDisplay=true\n"},
        {"first/nodisplay-override.desktop", "[Desktop Entry]\nType=Application\nName=System\n"
                                             "Exec=true\n"},
        {"user/broken-override.desktop", "[Desktop Entry]\nType=Application\nName=Mine\n"
                                         "this line means nothing\n"},
        {"first/broken-override.desktop", "[Desktop Entry]\nType=Application\nName=System\n"
                                          "Exec=true\n"},
        {"user/shown-override.desktop", "[Desktop Entry]\nType=Application\nName=Mine\n"
                                        "Exec=true\n"},
        {"second/shown-override.desktop", "[Desktop Entry]\nType=Application\nName=System\n"
                                          "Exec=true\n"},
        {"first/earlier.desktop", "[Desktop Entry]\nType=Application\nName=Earlier\nExec=true\n"},
        {"second/earlier.desktop", "[Desktop Entry]\nType=Application\nName=Later\nExec=true\n"},
        // Subfolders name their entries; a folder named like an entry is one, and masks.
        {"user/wine/Programs/notepad.desktop", "[Desktop Entry]\nType=Application\n"
                                               "Name=Notepad\nExec=true\n"},
        {"second/wine-Programs-notepad.desktop", "[Desktop Entry]\nType=Application\n"
                                                 "Name=Other Notepad\nExec=true\n"},
        {"first/kde4/nested/deep.desktop", "[Desktop Entry]\nType=Application\nName=Deep\n"
                                           "Exec=true\n"},
        {"first/masking.desktop/inside.desktop", "[Desktop Entry]\nType=Application\n"
                                                 "Name=Inside\nExec=true\n"},
        {"second/masking.desktop", "[Desktop Entry]\nType=Application\nName=Masked\nExec=true\n"},
        {"first/.hidden-file.desktop", "[Desktop Entry]\nType=Application\nName=Dotted\n"
                                       "Exec=true\n"},
        {"first/mimeinfo.cache", "[MIME Cache]\ntext/plain=plain.desktop;\n"},
        // Desktops: XDG_CURRENT_DESKTOP decides, its first matching name first.
        {"first/only-first.desktop", "[Desktop Entry]\nType=Application\nName=Only First\n"
                                     "Exec=true\nOnlyShowIn=Frost;\n"},
        {"first/only-second.desktop", "[Desktop Entry]\nType=Application\nName=Only Second\n"
                                      "Exec=true\nOnlyShowIn=Glade;Moss;\n"},
        {"first/only-other.desktop", "[Desktop Entry]\nType=Application\nName=Only Other\n"
                                     "Exec=true\nOnlyShowIn=Moss\n"},
        {"first/not-second.desktop", "[Desktop Entry]\nType=Application\nName=Not Second\n"
                                     "Exec=true\nNotShowIn=Glade;\n"},
        {"first/only-second-not-first.desktop", "[Desktop Entry]\nType=Application\n"
                                                "Name=Mixed\nExec=true\nOnlyShowIn=Glade;\n"
                                                "NotShowIn=Frost;\n"},
        {"first/only-and-not-second.desktop", "[Desktop Entry]\nType=Application\n"
                                              "Name=Both Lists\nExec=true\nOnlyShowIn=Glade;\n"
                                              "NotShowIn=Glade;\n"},
        {"first/only-empty.desktop", "[Desktop Entry]\nType=Application\nName=Only Empty\n"
                                     "Exec=true\nOnlyShowIn=\n"},
        {"first/only-bad-escape.desktop", "[Desktop Entry]\nType=Application\n"
                                          "Name=Only Bad Escape\nExec=true\nOnlyShowIn=M\\oss;\n"},
        {"first/only-escaped.desktop", "[Desktop Entry]\nType=Application\nName=Only Escaped\n"
                                       "Exec=true\nOnlyShowIn=Fr\\;ost;\n"},
        // Programs: TryExec and the program of Exec must be installed.
        {"first/tryexec-missing.desktop", "[Desktop Entry]\nType=Application\nName=Try Missing\n"
                                          "TryExec=quellory-no-such-program\nExec=true\n"},
        {"first/tryexec-present.desktop", "[Desktop Entry]\nType=Application\nName=Try Present\n"
                                          "TryExec=quellory-tool\nExec=true\n"},
        {"first/tryexec-absolute.desktop", "[Desktop Entry]\nType=Application\n"
                                           "Name=Try Absolute\nTryExec=/bin/sh\nExec=true\n"},
        {"first/tryexec-not-executable.desktop", "[Desktop Entry]\nType=Application\n"
                                                 "Name=Try Plain\nTryExec=quellory-plain\n"
                                                 "Exec=true\n"},
        {"first/tryexec-directory.desktop", "[Desktop Entry]\nType=Application\n"
                                            "Name=Try Directory\nTryExec=quellory-folder\n"
                                            "Exec=true\n"},
        {"first/tryexec-empty.desktop", "[Desktop Entry]\nType=Application\nName=Try Empty\n"
                                        "TryExec=\nExec=true\n"},
        {"first/exec-missing.desktop", "[Desktop Entry]\nType=Application\nName=Exec Missing\n"
                                       "Exec=quellory-no-such-program %U\n"},
        {"first/exec-arguments.desktop", "[Desktop Entry]\nType=Application\n"
                                         "Name=Exec Arguments\nExec=  quellory-tool --new %F\n"},
        {"first/exec-quoted.desktop", "[Desktop Entry]\nType=Application\nName=Exec Quoted\n"
                                      "Exec=\"quellory-tool\" --flag\n"},
        {"first/exec-unbalanced.desktop", "[Desktop Entry]\nType=Application\n"
                                          "Name=Exec Unbalanced\nExec=\"quellory-tool --flag\n"},
        {"first/exec-escaped-space.desktop", "[Desktop Entry]\nType=Application\n"
                                             "Name=Exec Escaped\nExec=quellory\\\\ tool\n"},
        {"first/exec-blank.desktop", "[Desktop Entry]\nType=Application\nName=Exec Blank\n"
                                     "Exec=\\s\\s\n"},
        {"first/exec-empty.desktop", "[Desktop Entry]\nType=Application\nName=Exec Empty\n"
                                     "Exec=\n"},
        {"first/exec-none.desktop", "[Desktop Entry]\nType=Application\nName=Exec None\n"},
        {"first/exec-path.desktop", "[Desktop Entry]\nType=Application\nName=Exec Path\n"
                                    "Exec=/bin/sh -c true\n"},
        // Types and flags.
        {"first/link.desktop", "[Desktop Entry]\nType=Link\nName=Link\nURL=https://example.org\n"},
        {"first/directory.desktop", "[Desktop Entry]\nType=Directory\nName=Directory\n"},
        {"first/no-type.desktop", "[Desktop Entry]\nName=No Type\nExec=true\n"},
        {"first/type-blank-after.desktop", "[Desktop Entry]\nType=Application \n"
                                           "Name=Type Blank\nExec=true\n"},
        {"first/type-escaped.desktop", "[Desktop Entry]\nType=Applic\\x61tion\n"
                                       "Name=Type Escaped\nExec=true\n"},
        {"first/nodisplay-one.desktop", "[Desktop Entry]\nType=Application\nName=NoDisplay One\n"
                                        "Exec=true\nNoDisplay=1\n"},
        {"first/nodisplay-blank.desktop", "[Desktop Entry]\nType=Application\n"
                                          "Name=NoDisplay Blank\nExec=true\nNoDisplay=true  \n"},
        {"first/nodisplay-capital.desktop", "[Desktop Entry]\nType=Application\n"
                                            "Name=NoDisplay Capital\nExec=true\nNoDisplay=True\n"},
        {"first/hidden-false.desktop", "[Desktop Entry]\nType=Application\nName=Hidden False\n"
                                       "Exec=true\nHidden=false\n"},
        // Names: translations, escapes, comments, groups.
        {"first/localized.desktop", "[Desktop Entry]\nType=Application\nExec=true\nName=Plain\n"
                                    "Name[de]=Deutsch\nName[sr]=Srpski\nName[sr@latin]=Latinica\n"
                                    "Name[sr_RS]=Srbija\nName[fr]=Français\n"},
        {"first/localized-country.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"
                                            "Name=Plain\nName[sr]=Srpski\nName[sr_RS]=Srbija\n"
                                            "Name[de_AT]=Österreich\nName[de]=Deutsch\n"},
        {"first/localized-invalid.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"
                                            "Name=Plain\nName[sr_RS@latin]=Bad\xff\n"
                                            "Name[de]=Deutsch\nName[sr]=Srpski\n"},
        {"first/localized-case.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"
                                         "Name=Plain\nName[DE]=Upper\nName[SR]=Upper\n"},
        {"first/escapes.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"
                                  "Name=\\sTab\\there\\\\back\\x and\\;semicolon  \n"},
        {"first/trailing-backslash.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"
                                             "Name=Ends in\\\n"},
        {"first/comments.desktop", "# leading comment\n\n[Desktop Entry]\n  # indented\n"
                                   "Type=Application\n#Name=Commented\nName = Spaced Key\n"
                                   "\t\nExec=true\n"},
        {"first/other-groups.desktop", "[Desktop Entry]\nType=Application\nName=Main\nExec=true\n"
                                       "[Desktop Action new]\nName=Action\nExec=false\n"},
        {"first/merged-groups.desktop", "[Desktop Entry]\nType=Application\nName=Before\n"
                                        "[Other]\nName=Other\n[Desktop Entry]\nName=After\n"
                                        "Exec=true\n"},
        {"first/repeated-key.desktop", "[Desktop Entry]\nType=Application\nName=First\n"
                                       "Exec=true\nName=Second\n"},
        {"first/empty-name.desktop", "[Desktop Entry]\nType=Application\nName=\nExec=true\n"},
        {"first/crlf.desktop", "[Desktop Entry]\r\nType=Application\r\nName=Windows\r\n"
                               "Exec=true\r\n"},
        {"first/group-blank-after.desktop", "[Desktop Entry] \t\nType=Application\n"
                                            "Name=Group Blank\nExec=true\n"},
        {"first/encoding-utf8.desktop", "[Desktop Entry]\nEncoding=utf-8\nType=Application\n"
                                        "Name=Encoded\nExec=true\n"},
        {"first/comment-not-utf8.desktop", "[Desktop Entry]\nType=Application\nName=Latin\n"
                                           "Comment=caf\xe9\nExec=true\n"},
        {"first/last-line-unterminated.desktop", "[Desktop Entry]\nType=Application\n"
                                                 "Exec=true\nName=No Newline"},
        // Files that GKeyFile refuses.
        {"first/garbage-line.desktop", "[Desktop Entry]\nType=Application\nName=Garbage\n"
                                       "Exec=true\ngarbage\n"},
        {"first/key-before-group.desktop", "Name=Early\n[Desktop Entry]\nType=Application\n"
                                           "Name=Late\nExec=true\n"},
        {"first/other-group-first.desktop", "[Other]\nName=Other\n[Desktop Entry]\n"
                                            "Type=Application\nName=Second Group\nExec=true\n"},
        {"first/blank-before-locale.desktop", "[Desktop Entry]\nType=Application\n"
                                              "Name=Blank Locale\nName [de]=x\nExec=true\n"},
        {"first/bad-locale.desktop", "[Desktop Entry]\nType=Application\nName=Bad Locale\n"
                                     "Name[de!]=x\nExec=true\n"},
        {"first/text-after-locale.desktop", "[Desktop Entry]\nType=Application\n"
                                            "Name=After Locale\nName[de]x=y\nExec=true\n"},
        {"first/bracket-in-key.desktop", "[Desktop Entry]\nType=Application\nName=Bracket\n"
                                         "Na]me=x\nExec=true\n"},
        {"first/empty-key.desktop", "[Desktop Entry]\nType=Application\nName=Empty Key\n"
                                    "=value\nExec=true\n"},
        {"first/bad-group.desktop", "[Desktop Entry]\nType=Application\nName=Bad Group\n"
                                    "Exec=true\n[Broken\n"},
        {"first/text-after-group.desktop", "[Desktop Entry] x\nType=Application\n"
                                           "Name=After Group\nExec=true\n"},
        {"first/empty-group.desktop", "[]\n[Desktop Entry]\nType=Application\nName=Empty Group\n"
                                      "Exec=true\n"},
        {"first/encoding-latin1.desktop", "[Desktop Entry]\nEncoding=Legacy-Mixed\n"
                                          "Type=Application\nName=Latin1\nExec=true\n"},
        {"first/type-not-utf8.desktop", "[Desktop Entry]\nType=Appli\xe7\x61tion\n"
                                        "Name=Bad Type\nExec=true\n"},
        {"first/empty.desktop", ""},
        {"first/only-comments.desktop", "# nothing here\n"},
    };
    return files;
}

// Writes the tree: "user" is the applications folder of the user's data directory, "first" and
// "second" those of the system's.
bool writeTree(const QDir &root) {
    static const QHash<QString, QString> folders{{"user", "home/applications"},
                                                 {"first", "first/applications"},
                                                 {"second", "second/applications"}};
    for (const auto &[path, content] : trickyTree()) {
        const qsizetype slash = path.indexOf('/');
        const QString file = root.filePath(folders.value(path.left(slash)) + path.mid(slash));
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            return false;
    }
    QDir().mkpath(root.filePath("bin/quellory-folder"));
    QFile tool(root.filePath("bin/quellory-tool"));
    QFile plain(root.filePath("bin/quellory-plain"));
    QFile spaced(root.filePath("bin/quellory tool"));
    return tool.open(QIODevice::WriteOnly) && plain.open(QIODevice::WriteOnly) &&
           spaced.open(QIODevice::WriteOnly) &&
           tool.setPermissions(tool.permissions() | QFile::ExeOwner | QFile::ExeOther) &&
           spaced.setPermissions(spaced.permissions() | QFile::ExeOwner);
}

} // namespace

class CatalogMatchesGioTest : public QObject {
    Q_OBJECT

private slots:
    void thisMachinesFolders() {
        const QStringList gio = gioApplications();
        const QStringList catalog = catalogApplications();

        QCOMPARE(catalog, gio);
        QVERIFY(catalog.contains("debian-xterm\tXTerm"));
        QVERIFY(catalog.contains("org.xfce.mousepad\tMousepad"));
    }

    void trickyFolders_data() {
        QTest::addColumn<QString>("currentDesktop");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("locale");

        QTest::newRow("two desktops, language list") << "Frost:Glade"
                                                     << "sr_RS@latin:de"
                                                     << "C";
        QTest::newRow("second desktop, locale only") << "Glade" << QString() << "sr_RS.UTF-8";
        QTest::newRow("country locale with modifier") << "Moss" << QString() << "de_AT.UTF-8@euro";
        QTest::newRow("no desktop, untranslated") << QString() << QString() << "C";
        QTest::newRow("empty desktop names") << "::"
                                             << "de"
                                             << "C";
    }

    void trickyFolders() {
        QFETCH(QString, currentDesktop);
        QFETCH(QString, language);
        QFETCH(QString, locale);
        QTemporaryDir tree;
        QVERIFY(tree.isValid());
        const QDir root(tree.path());
        QVERIFY(writeTree(root));
        qputenv("XDG_DATA_HOME", root.filePath("home").toUtf8());
        // The first system folder twice: GIO masks the copy, the catalog drops it.
        qputenv("XDG_DATA_DIRS", QStringList{root.filePath("first"), root.filePath("second"),
                                             root.filePath("first/")}
                                     .join(':')
                                     .toUtf8());
        setEnvironment("XDG_CURRENT_DESKTOP", currentDesktop);
        setEnvironment("LANGUAGE", language);
        setEnvironment("LC_ALL", locale);
        qputenv("PATH", root.filePath("bin").toUtf8() + ":/usr/bin:/bin");

        const QStringList gio = gioApplications();
        const QStringList catalog = catalogApplications();

        QCOMPARE(catalog, gio);
        QVERIFY(catalog.contains("shown-override\tMine"));
        QVERIFY(catalog.contains("wine-Programs-notepad\tNotepad"));
        QVERIFY(!catalog.filter("hidden-override").size());
    }
};

int main(int argc, char **argv) {
    if (argc == 2 && argv[1] == listGioArgument)
        return printGioApplications();
    QCoreApplication application(argc, argv);
    CatalogMatchesGioTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_catalogmatchesgio.moc"
