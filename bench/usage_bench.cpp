// Times one recorded launch, which saves the whole usage store, with 50,000 identifiers stored
// before the program starts (an old store, or one that something filled with names), and the
// same with 2,000. Prints medians over several rounds.

#include "BenchFigures.h"
#include "fakes/MemoryDefaultsStore.h"
#include "models/AppUsageStore.h"
#include "models/SystemClock.h"

#include <chrono>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <vector>

namespace {

constexpr int rounds = 9;

// A store with count identifiers, each launched once, a second apart.
MemoryDefaultsStore filledStore(int count) {
    QJsonObject counts, times;
    for (int i = 0; i < count; ++i) {
        const QString id = QStringLiteral("org.example.App%1").arg(i);
        counts.insert(id, 1);
        times.insert(id, 700000000.0 + i);
    }
    MemoryDefaultsStore store;
    store.values[AppUsageStore::launchCountsKey] = QJsonDocument(counts).toJson();
    store.values[AppUsageStore::lastLaunchKey] = QJsonDocument(times).toJson();
    return store;
}

double launchMilliseconds(int storedCount) {
    MemoryDefaultsStore defaults = filledStore(storedCount);
    const SystemClock clock;
    AppUsageStore usage(defaults, clock, std::nullopt);
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const auto start = std::chrono::steady_clock::now();
        usage.recordLaunch(QStringLiteral("org.example.Launched%1").arg(round));
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    return BenchFigures::median(times);
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    BenchFigures::print("launch_saved_with_50000_stored", launchMilliseconds(50000), "ms");
    BenchFigures::print("launch_saved_with_2000_stored", launchMilliseconds(2000), "ms");
    return 0;
}
