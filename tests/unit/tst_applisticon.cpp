#include "fakes/FakeIconProvider.h"
#include "fakes/FakeRunningApplication.h"
#include "models/IconCache.h"
#include "views/AppListIcon.h"

#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

namespace {

const QString editorPath = QStringLiteral("/apps/Editor.app");
const QString mailPath = QStringLiteral("/apps/Mail.app");

QColor colourOf(const QImage &image) {
    return image.isNull() ? QColor() : image.pixelColor(0, 0);
}

QColor iconColour(const QString &path) {
    return colourOf(FakeIconProvider::iconFor(path));
}

struct Fixture {
    FakeIconProvider provider;
    QThreadPool pool;
    IconCache cache{provider, pool};
    AppListIcon icons{cache};
    QSignalSpy arrivals{&icons, &AppListIcon::imageArrived};
};

} // namespace

class AppListIconTest : public QObject {
    Q_OBJECT

private slots:
    void showsThePlaceholderUntilTheIconArrivesThenKeepsIt() {
        Fixture f;
        QVERIFY(f.icons.image("row", editorPath, nullptr).isNull());
        QTRY_COMPARE(f.arrivals.size(), 1);
        QCOMPARE(f.arrivals.takeFirst().at(0).toString(), "row");
        QCOMPARE(colourOf(f.icons.image("row", editorPath, nullptr)), iconColour(editorPath));

        // Another row of the same path finds it cached: no lookup, nothing to wait for.
        QCOMPARE(colourOf(f.icons.image("other row", editorPath, nullptr)), iconColour(editorPath));
        QCOMPARE(f.provider.record().requested, QStringList{editorPath});
        QTest::qWait(20);
        QVERIFY(f.arrivals.isEmpty());
    }

    void aRunningApplicationsOwnIconStandsInWhileFetching() {
        Fixture f;
        QImage own(64, 64, QImage::Format_ARGB32);
        own.fill(Qt::magenta);
        const auto app = std::make_shared<FakeRunningApplication>(own);
        f.provider.hold(true);
        QCOMPARE(colourOf(f.icons.image("row", editorPath, app)), QColor(Qt::magenta));
        f.provider.hold(false);
        QTRY_COMPARE(colourOf(f.icons.image("row", editorPath, app)), iconColour(editorPath));
    }

    void withoutAPathTheApplicationsIconOrTheFallbackShows_data() {
        QTest::addColumn<std::optional<QString>>("path");
        QTest::addColumn<bool>("hasOwnIcon");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("no path, own icon")
            << std::optional<QString>() << true << QColor(Qt::magenta);
        QTest::newRow("empty path, own icon")
            << std::optional(QString()) << true << QColor(Qt::magenta);
        QTest::newRow("no path, no icon") << std::optional<QString>() << false << QColor(Qt::cyan);
    }
    void withoutAPathTheApplicationsIconOrTheFallbackShows() {
        QFETCH(std::optional<QString>, path);
        QFETCH(bool, hasOwnIcon);
        QFETCH(QColor, colour);
        Fixture f;
        f.provider.fallback = QImage(32, 32, QImage::Format_ARGB32);
        f.provider.fallback.fill(Qt::cyan);
        QImage own(64, 64, QImage::Format_ARGB32);
        own.fill(Qt::magenta);
        const auto app = hasOwnIcon ? std::make_shared<FakeRunningApplication>(own) : nullptr;

        const QImage first = f.icons.image("row", path, app);
        if (!hasOwnIcon)
            QVERIFY(first.isNull()); // the placeholder, until the fallback is made
        QTRY_COMPARE(colourOf(f.icons.image("row", path, app)), colour);
        QVERIFY(f.provider.record().requested.isEmpty());
    }

    void aResultForAnEarlierPathOrAGoneRowIsDropped() {
        Fixture f;
        f.provider.hold(true);
        f.icons.image("row", editorPath, nullptr);
        f.icons.image("gone", mailPath, nullptr);
        QTRY_COMPARE(f.provider.record().running, 2);
        // The row shows another application now, the other row has left the list.
        QVERIFY(f.icons.image("row", mailPath, nullptr).isNull());
        f.icons.forget("gone");

        f.provider.hold(false);
        QTRY_COMPARE(colourOf(f.icons.image("row", mailPath, nullptr)), iconColour(mailPath));
        QTRY_COMPARE(f.provider.record().requested.size(), 3);
        QTest::qWait(20);
        QCOMPARE(colourOf(f.icons.image("row", mailPath, nullptr)), iconColour(mailPath));
        QCOMPARE(f.arrivals.size(), 1);
        // What was fetched is cached all the same.
        QCOMPARE(colourOf(f.cache.cachedIcon(editorPath)), iconColour(editorPath));
    }
};

QTEST_MAIN(AppListIconTest)
#include "tst_applisticon.moc"
