#include "fakes/WriteFile.h"
#include "platform/linux/freedesktop/IconThemeProvider.h"

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString applications = QStringLiteral("/usr/share/applications/");

// Whether the icon looks like the file drawn at its size by Qt's own image plugins, but for
// rounding: they scale and antialias as the provider does, not always to the last bit.
bool looksLike(const QImage &icon, const QString &file) {
    QImageReader reader(file);
    reader.setScaledSize(reader.format() == "svg" ? icon.size() : QSize());
    const auto format = QImage::Format_ARGB32_Premultiplied;
    const QImage actual = icon.convertToFormat(format);
    const QImage expected = reader.read()
                                .scaled(icon.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(format);
    bool alike = !icon.isNull() && actual.size() == expected.size();
    for (qsizetype i = 0; alike && i < actual.sizeInBytes(); ++i)
        alike = std::abs(actual.constBits()[i] - expected.constBits()[i]) <= 8;
    return alike;
}

} // namespace

class IconThemeProviderTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_scratch.filePath("data")));
        QVERIFY(writeThemes());
    }

    void lookupTakesTheNearestSizeInTheNearestThemeHicolorLastElseTheGenericIcon_data() {
        // The theme; the entry, or an icon name for an entry of its own; the file the icon is
        // expected to look like, absolute or under the user's icons.
        QTest::addColumn<QStringList>("lookup");
        const auto row = [](const char *name, const QString &theme, const QString &entry,
                            const QString &file) {
            QTest::newRow(name) << QStringList{theme, entry, file};
        };
        const QString hicolor = "/usr/share/icons/hicolor/scalable/apps/";
        const QString mousepad = hicolor + "org.xfce.mousepad.svg";
        const QString generic =
            "/usr/share/icons/Adwaita/32x32/mimetypes/application-x-executable.png";
        // Adwaita lacks the icons of these entries; hicolor and the loose icons have them.
        row("xterm: hicolor before a 32px XPM among the loose icons", "Adwaita",
            applications + "debian-xterm.desktop", hicolor + "mini.xterm.svg");
        row("openbox: a loose 48px PNG", "Adwaita", applications + "openbox.desktop",
            "/usr/share/pixmaps/openbox.png");
        row("python: an absolute path", "Adwaita", applications + "python3.11.desktop",
            "/usr/share/pixmaps/python3.11.xpm");
        row("an unknown icon: the generic one", "Adwaita", "no-such-icon", generic);
        row("no Icon key", "Adwaita", applications + "mimeinfo.cache", generic);
        row("not a key file", "Adwaita", "/usr/share/pixmaps/openbox.png", generic);
        row("the exact size among 16, 32 and 48", "Small", "exact", "Small/32/exact.png");
        row("24 is nearer than 16 and 48", "Small", "nearest", "Small/24/nearest.png");
        row("a threshold of 2 around 30 takes 32", "Small", "threshold", "Small/30/threshold.png");
        row("a scalable SVG up to 24 is nearer than 48", "Small", "scalable",
            "Small/scalable/scalable.svg");
        row("from the parent theme", "Small", "inherited", "Parent/32/inherited.png");
        row("hicolor after a theme that does not inherit it", "Small", "org.xfce.mousepad",
            mousepad);
        row("hicolor for a theme that is not installed", "None", "org.xfce.mousepad", mousepad);
        row("hicolor after themes that inherit from each other", "LoopA", "org.xfce.mousepad",
            mousepad);
    }
    void lookupTakesTheNearestSizeInTheNearestThemeHicolorLastElseTheGenericIcon() {
        QFETCH(QStringList, lookup);
        QString entry = lookup[1];
        if (!entry.startsWith('/')) {
            entry = m_scratch.filePath("entries/" + lookup[1] + ".desktop");
            QVERIFY(writeFile(entry, "[Desktop Entry]\nIcon=" + lookup[1].toUtf8() + '\n'));
        }
        const QImage icon = IconThemeProvider(lookup[0]).iconForFile(entry, 32);
        QCOMPARE(icon.size(), QSize(32, 32));
        QVERIFY(looksLike(icon, QDir(icons()).filePath(lookup[2])));
    }

private:
    QString icons() const { return m_scratch.filePath("data/icons"); }

    // A small theme and its parent in the user's data folder, each icon of a colour of its own,
    // and two themes that inherit from each other.
    bool writeThemes() {
        bool written =
            writeFile(icons() + "/Small/index.theme",
                      "[Icon Theme]\nInherits=Parent\nDirectories=16,24,30,32,48,scalable\n"
                      "[16]\nSize=16\nType=Fixed\n[24]\nSize=24\nType=Fixed\n[30]\nSize=30\n"
                      "Type=Threshold\n[32]\nSize=32\nType=Fixed\n[48]\nSize=48\nType=Fixed\n"
                      "[scalable]\nSize=16\nMinSize=8\nMaxSize=24\nType=Scalable\n") &&
            writeFile(icons() + "/Parent/index.theme",
                      "[Icon Theme]\nDirectories=32\n[32]\nSize=32\nType=Fixed\n") &&
            writeFile(icons() + "/LoopA/index.theme", "[Icon Theme]\nInherits=LoopB\n") &&
            writeFile(icons() + "/LoopB/index.theme", "[Icon Theme]\nInherits=LoopA\n") &&
            writeFile(icons() + "/Small/scalable/scalable.svg",
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"16\" height=\"16\">"
                      "<rect width=\"16\" height=\"16\" fill=\"#3080ff\"/></svg>");
        const QStringList pngs{"Small/16/exact",     "Small/32/exact",     "Small/48/exact",
                               "Small/16/nearest",   "Small/24/nearest",   "Small/48/nearest",
                               "Small/30/threshold", "Small/48/threshold", "Small/48/scalable",
                               "Parent/32/inherited"};
        for (qsizetype i = 0; i < pngs.size(); ++i) {
            const int edge = pngs[i].section('/', 1, 1).toInt();
            QImage image(edge, edge, QImage::Format_ARGB32);
            image.fill(QColor::fromHsv(int(i) * 36, 255, 255));
            written = written && QDir().mkpath(QFileInfo(icons() + '/' + pngs[i]).path()) &&
                      image.save(icons() + '/' + pngs[i] + ".png");
        }
        return written;
    }

    QTemporaryDir m_scratch;
};

QTEST_MAIN(IconThemeProviderTest)
#include "tst_iconthemeprovider.moc"
