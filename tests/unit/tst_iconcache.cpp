#include "fakes/FakeIconProvider.h"
#include "fakes/FakeRunningApplication.h"
#include "models/IconCache.h"
#include "views/AppListIcon.h"

#include <algorithm>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

namespace {

const QString editorPath = QStringLiteral("/apps/Editor.app");
const QString mailPath = QStringLiteral("/apps/Mail.app");

// A cache over the simulated icon service, in a pool of more threads than the prefetch may use,
// so that a missing bound would show, and the list's rows' icons over it.
struct Fixture {
    FakeIconProvider provider;
    QThreadPool pool;
    IconCache cache{provider, pool};
    AppListIcon icons{cache};
    QSignalSpy arrivals{&icons, &AppListIcon::imageArrived};

    Fixture() { pool.setMaxThreadCount(16); }
    ~Fixture() {
        provider.hold(false);
        pool.waitForDone();
    }
    // Lets the lookups that wait go; answers whether all the paths are cached by now.
    bool releaseUntilCached(const QStringList &paths) {
        provider.hold(true);
        return std::all_of(paths.begin(), paths.end(), [this](const QString &path) {
            return isIconOf(cache.cachedIcon(path), path);
        });
    }
    // The service's icon for the path, at the one size rows draw.
    static bool isIconOf(const QImage &icon, const QString &path) {
        return icon.size() == QSize(32, 32) &&
               icon.pixel(16, 16) == FakeIconProvider::iconFor(path).pixel(0, 0);
    }
};

} // namespace

// Icons looked up off the GUI thread and cached, and the rows that show them as they come.
class IconCacheTest : public QObject {
    Q_OBJECT

private slots:
    void withoutPathTheRunningAppsIconOrTheFallbackMadeOnce_data() {
        QTest::addColumn<std::optional<QString>>("path");
        QTest::addColumn<QImage>("appIcon");
        QTest::addColumn<QImage>("fallback");
        const QImage symbol = FakeIconProvider::iconFor("symbol");
        QTest::newRow("no path, an app icon")
            << std::optional<QString>() << FakeIconProvider::iconFor("running") << symbol;
        QTest::newRow("empty path, no app icon, no symbol")
            << std::optional<QString>("") << QImage() << QImage();
    }
    void withoutPathTheRunningAppsIconOrTheFallbackMadeOnce() {
        QFETCH(std::optional<QString>, path);
        QFETCH(QImage, appIcon);
        QFETCH(QImage, fallback);
        Fixture f;
        f.provider.fallback = fallback;
        QList<QImage> answers;
        const auto collect = [&answers](const QImage &image) { answers << image; };

        f.cache.loadIcon(path, std::make_shared<FakeRunningApplication>(appIcon), this, collect);
        f.cache.loadIcon(path, nullptr, this, collect);
        QTRY_COMPARE(answers.size(), 2);
        f.cache.loadIcon(path, nullptr, this, collect);

        QCOMPARE(answers.size(), 3); // at once, now that the fallback is made
        if (!appIcon.isNull())
            QVERIFY(Fixture::isIconOf(answers.takeFirst(), "running"));
        QCOMPARE(answers, QList<QImage>(answers.size(), fallback));
        QCOMPARE(f.provider.record().symbolRequests, 1);
        QVERIFY(f.provider.record().requested.isEmpty());
        QVERIFY(!f.provider.record().onGuiThread);
    }

    void prefetchRunsAtMostSixLookupsOncePerPathOncePerRun() {
        Fixture f;
        QStringList paths;
        for (int i = 0; i < 100; ++i)
            paths << QStringLiteral("/usr/share/applications/app%1.desktop").arg(i);
        // Six loads whose row goes before the icons come: they are cached all the same.
        auto *leaving = new QObject;
        bool answered = false;
        for (const QString &path : paths.mid(94))
            f.cache.loadIcon(path, nullptr, leaving, [&](const QImage &) { answered = true; });
        delete leaving;
        QTRY_VERIFY(f.releaseUntilCached(paths.mid(94)));
        QVERIFY(!answered);
        f.provider.hold(true);

        // Duplicates come while their first copy is being looked up, and after it is cached.
        f.cache.prefetchIcons(QStringList{paths[0], "", paths[0]} + paths + paths.mid(10, 5));
        f.cache.prefetchIcons({"/usr/share/applications/later.desktop"}); // once per run

        QTRY_COMPARE(f.provider.record().running, IconCache::maxConcurrentPrefetches);
        // Lookups pile up between releases: a missing bound would let more run at once.
        QTRY_VERIFY_WITH_TIMEOUT(f.releaseUntilCached(paths), 30000);
        f.provider.hold(false);
        f.pool.waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(f.provider.record().maxRunning, IconCache::maxConcurrentPrefetches);
        QStringList requested = f.provider.record().requested;
        requested.sort();
        paths.sort();
        QCOMPARE(requested, paths);

        QImage cached;
        f.cache.loadIcon(paths.first(), nullptr, this, [&](const QImage &icon) { cached = icon; });
        QVERIFY(Fixture::isIconOf(cached, paths.first())); // at once, without a lookup
        QCOMPARE(f.provider.record().requested.size(), 100);
        QVERIFY(!f.provider.record().onGuiThread);
    }

    void aRunningApplicationsOwnIconStandsInWhileFetching() {
        Fixture f;
        const auto app = std::make_shared<FakeRunningApplication>(FakeIconProvider::iconFor("own"));
        f.provider.hold(true);
        QCOMPARE(f.icons.image("row", editorPath, app), FakeIconProvider::iconFor("own"));
        f.provider.hold(false);
        QTRY_VERIFY(Fixture::isIconOf(f.icons.image("row", editorPath, app), editorPath));
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
        QTRY_VERIFY(Fixture::isIconOf(f.icons.image("row", mailPath, nullptr), mailPath));
        QTRY_COMPARE(f.provider.record().requested.size(), 3);
        QTest::qWait(20);
        // Another row of the same path finds it cached, with nothing to wait for.
        QVERIFY(Fixture::isIconOf(f.icons.image("other row", mailPath, nullptr), mailPath));
        QCOMPARE(f.arrivals.size(), 1);
        // What was fetched is cached all the same.
        QVERIFY(Fixture::isIconOf(f.cache.cachedIcon(editorPath), editorPath));
    }
};

QTEST_MAIN(IconCacheTest)
#include "tst_iconcache.moc"
