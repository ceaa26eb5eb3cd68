// The usage store's decoding of what it finds stored, on any bytes: it never crashes, and what
// it keeps reads back the same once saved.

#include "fakes/MemoryDefaultsStore.h"
#include "fakes/VirtualTime.h"
#include "models/AppUsageStore.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    MemoryDefaultsStore defaults;
    defaults.setData(QByteArray::fromStdString(provider.ConsumeRandomLengthString()),
                     AppUsageStore::launchCountsKey);
    defaults.setData(QByteArray::fromStdString(provider.ConsumeRemainingBytesAsString()),
                     AppUsageStore::lastLaunchKey);
    const VirtualTime time;
    AppUsageStore store(defaults, time, std::nullopt);
    store.saveUsage();
    const AppUsageStore reread(defaults, time, std::nullopt);
    if (reread.launchCounts() != store.launchCounts() ||
        reread.lastLaunch() != store.lastLaunch()) {
        std::fprintf(stderr, "Saved usage reads back otherwise:\n%s\n%s\n",
                     defaults.data(AppUsageStore::launchCountsKey)->constData(),
                     defaults.data(AppUsageStore::lastLaunchKey)->constData());
        std::abort();
    }
    return 0;
}
