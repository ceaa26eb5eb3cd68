#include "fakes/FakeIconProvider.h"
#include "fakes/FakeRunningApplication.h"
#include "models/IconCache.h"

#include <algorithm>
#include <memory>
#include <QTest>
#include <QThread>
#include <QThreadPool>

namespace {

const QString mousepad = QStringLiteral("/usr/share/applications/org.xfce.mousepad.desktop");

QStringList appPaths(int first, int count) {
    QStringList paths;
    for (int i = first; i < first + count; ++i)
        paths.append(QStringLiteral("/usr/share/applications/app%1.desktop").arg(i));
    return paths;
}

QImage solid(int edge, const QColor &colour) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

} // namespace

class IconCacheTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_provider = std::make_unique<FakeIconProvider>();
        m_pool = std::make_unique<QThreadPool>();
        // More threads than the prefetch may use, so that a missing bound would show.
        m_pool->setMaxThreadCount(16);
        m_cache = std::make_unique<IconCache>(*m_provider, *m_pool);
    }

    void cleanup() {
        m_provider->setHolding(false);
        m_pool->waitForDone();
        QVERIFY2(!m_provider->wasCalledOn(QThread::currentThread()),
                 "the icon service was asked on the GUI thread");
        m_cache.reset();
        m_pool.reset();
        m_provider.reset();
    }

    void withoutPathTheRunningAppsIconOrTheFallback_data() {
        QTest::addColumn<bool>("hasPath");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("hasApp");
        QTest::addColumn<int>("appIconEdge");
        QTest::newRow("no path, app icon larger than 32") << false << QString() << true << 64;
        QTest::newRow("empty path, app icon of 32") << true << QString() << true << 32;
        QTest::newRow("no path, no app") << false << QString() << false << 0;
        QTest::newRow("no path, app without icon") << false << QString() << true << 0;
        QTest::newRow("empty path, no app") << true << QString() << false << 0;
    }
    void withoutPathTheRunningAppsIconOrTheFallback() {
        QFETCH(bool, hasPath);
        QFETCH(QString, path);
        QFETCH(bool, hasApp);
        QFETCH(int, appIconEdge);
        std::shared_ptr<FakeRunningApplication> app;
        if (hasApp) {
            app = std::make_shared<FakeRunningApplication>();
            app->path = mousepad;
            if (appIconEdge > 0)
                app->image = solid(appIconEdge, Qt::red);
        }

        const auto loaded = load(hasPath ? std::optional(path) : std::nullopt, app);

        QVERIFY(loaded);
        const QImage icon = *loaded;
        if (appIconEdge > 0) {
            QCOMPARE(icon.size(), QSize(32, 32));
            QCOMPARE(icon.pixelColor(16, 16), QColor(Qt::red));
            QCOMPARE(m_provider->symbolRequestCount(), 0);
        } else {
            QCOMPARE(icon, FakeIconProvider::defaultFallbackSymbol());
        }
        QVERIFY(m_provider->requestedPaths().isEmpty());
        QVERIFY(m_cache->cachedIcon(mousepad).isNull());
    }

    void fallbackIsMadeOnceAndMayBeEmpty_data() {
        QTest::addColumn<QImage>("symbol");
        QTest::newRow("the platform has the symbol") << FakeIconProvider::defaultFallbackSymbol();
        QTest::newRow("the platform lacks it") << QImage();
    }
    void fallbackIsMadeOnceAndMayBeEmpty() {
        QFETCH(QImage, symbol);
        m_provider->setFallbackSymbol(symbol);
        QList<QImage> answers;
        const auto collect = [&answers](const QImage &image) { answers.append(image); };

        m_cache->loadIcon(std::nullopt, nullptr, this, collect);
        m_cache->loadIcon(QString(), nullptr, this, collect);
        QTRY_COMPARE(answers.size(), 2);
        m_cache->loadIcon(std::nullopt, nullptr, this, collect);

        QCOMPARE(answers.size(), 3);
        for (const QImage &answer : std::as_const(answers))
            QCOMPARE(answer, symbol);
        QCOMPARE(m_provider->symbolRequestCount(), 1);
    }

    void loadFetchesOnceStoresAndAnswersLaterFromTheCache() {
        m_provider->setIconEdge(128);

        const auto icon = load(mousepad, nullptr);

        QCOMPARE(icon, FakeIconProvider::iconFor(mousepad, 32));
        QCOMPARE(m_cache->cachedIcon(mousepad), *icon);
        QImage again;
        m_cache->loadIcon(mousepad, nullptr, this,
                          [&again](const QImage &image) { again = image; });
        QCOMPARE(again, *icon); // at once, without a trip through the pool
        QCOMPARE(m_provider->requestedPaths(), QStringList{mousepad});
        QVERIFY(m_cache->cachedIcon(std::nullopt).isNull());
        QVERIFY(m_cache->cachedIcon(QString()).isNull());
    }

    void loadStoresEvenWhenTheAskingContextHasGone() {
        m_provider->setHolding(true);
        auto *leaving = new QObject;
        bool answered = false;
        m_cache->loadIcon(mousepad, nullptr, leaving,
                          [&answered](const QImage &) { answered = true; });
        QTRY_COMPARE(m_provider->waitingPaths(), QStringList{mousepad});
        delete leaving;

        m_provider->setHolding(false);

        QTRY_COMPARE(m_cache->cachedIcon(mousepad), FakeIconProvider::iconFor(mousepad, 32));
        QVERIFY(!answered);
    }

    void prefetchRunsAtMostSixLookupsOncePerPath() {
        const QStringList paths = appPaths(0, 100);
        const QStringList alreadyCached = paths.mid(90);
        for (const QString &path : alreadyCached)
            QVERIFY(load(path, nullptr));
        QStringList asked = paths;
        asked << paths.mid(10, 5) << QString() << paths.first() << QString();
        m_provider->setHolding(true);

        m_cache->prefetchIcons(asked);

        QTRY_COMPARE(m_provider->waitingPaths().size(), IconCache::maxConcurrentPrefetches);
        QTRY_VERIFY_WITH_TIMEOUT(releaseWaitingUntilCached(paths), 30000);
        QCOMPARE(m_provider->maxConcurrentLookups(), IconCache::maxConcurrentPrefetches);
        QStringList requested = m_provider->requestedPaths();
        requested.sort();
        QStringList expected = paths;
        expected.sort();
        QCOMPARE(requested, expected);
        for (const QString &path : paths)
            QCOMPARE(m_cache->cachedIcon(path), FakeIconProvider::iconFor(path, 32));
    }

    void prefetchSkipsPathsCachedWhileItRuns() {
        const QStringList paths = appPaths(0, 20);
        m_provider->setHolding(true);
        m_cache->prefetchIcons(paths);
        QTRY_COMPARE(m_provider->waitingPaths().size(), IconCache::maxConcurrentPrefetches);
        m_cache->loadIcon(paths.last(), nullptr, this, [](const QImage &) {});
        QTRY_VERIFY(m_provider->waitingPaths().contains(paths.last()));

        m_provider->releaseWaiting();
        QTRY_VERIFY(!m_cache->cachedIcon(paths.last()).isNull());
        QTRY_VERIFY_WITH_TIMEOUT(releaseWaitingUntilCached(paths), 30000);

        QCOMPARE(m_provider->requestedPaths().count(paths.last()), 1);
        QCOMPARE(m_provider->requestedPaths().size(), paths.size());
    }

    void prefetchHappensOncePerRun_data() {
        QTest::addColumn<QStringList>("first");
        QTest::addColumn<QStringList>("fetched");
        QTest::newRow("first list empty") << QStringList() << QStringList();
        QTest::newRow("first list of empty paths")
            << QStringList{QString(), QString()} << QStringList();
        const QStringList three = appPaths(0, 3);
        QTest::newRow("first list with duplicates")
            << QStringList{three[0], three[0], QString(), three[1], three[0], three[2]} << three;
    }
    void prefetchHappensOncePerRun() {
        QFETCH(QStringList, first);
        QFETCH(QStringList, fetched);
        m_cache->prefetchIcons(first);
        QTRY_VERIFY(releaseWaitingUntilCached(fetched));

        const QStringList second = appPaths(100, 3);
        m_cache->prefetchIcons(second);
        m_pool->waitForDone();
        QCoreApplication::processEvents();

        for (const QString &path : second)
            QVERIFY(m_cache->cachedIcon(path).isNull());
        QStringList requested = m_provider->requestedPaths();
        requested.sort();
        QCOMPARE(requested, fetched);
    }

private:
    // Loads on behalf of this test object; none when no answer came.
    std::optional<QImage> load(const std::optional<QString> &path,
                               const RunningApplicationPtr &app) {
        auto answer = std::make_shared<std::optional<QImage>>();
        m_cache->loadIcon(path, app, this, [answer](const QImage &image) { *answer = image; });
        if (!QTest::qWaitFor([&answer] { return answer->has_value(); }))
            return std::nullopt;
        return *answer;
    }

    bool releaseWaitingUntilCached(const QStringList &paths) {
        m_provider->releaseWaiting();
        return std::all_of(paths.begin(), paths.end(), [this](const QString &path) {
            return !m_cache->cachedIcon(path).isNull();
        });
    }

    std::unique_ptr<FakeIconProvider> m_provider;
    std::unique_ptr<QThreadPool> m_pool;
    std::unique_ptr<IconCache> m_cache;
};

QTEST_GUILESS_MAIN(IconCacheTest)
#include "tst_iconcache.moc"
