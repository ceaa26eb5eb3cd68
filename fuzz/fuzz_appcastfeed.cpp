// The update feed's parser on any bytes: it never crashes, and it never offers an address that
// is not https when the feed came over https. Time and memory are bounded by the run's limits.

#include "updates/AppcastFeed.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const QUrl address(QStringLiteral("https://quellory.app/updates/appcast.xml"));
    const AppcastFeed feed(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)),
                           address);
    for (const AppcastFeed::Item &item : feed.items()) {
        if (item.link.scheme() != u"https" || item.link.host().isEmpty()) {
            std::fprintf(stderr, "The feed offers %s\n", qPrintable(item.link.toString()));
            std::abort();
        }
    }
    if (!feed.items().isEmpty() && !feed.newestItem())
        std::abort();
    return 0;
}
