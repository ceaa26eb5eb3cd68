#include "AppUsageStore.h"

#include "AppCatalog.h"
#include "AppEnvironment.h"
#include "Clock.h"
#include "platform/ApplicationBundles.h"
#include "platform/DefaultsStore.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <utility>
#include <vector>

namespace {

constexpr double secondsPerDay = 86400.0;
constexpr double recencyDays = 14.0;
constexpr double seededLaunchAgeSeconds = 3600.0;

// Stored times count seconds from the start of 2001, as the program's first platform did.
const QDateTime &referenceDate() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return date;
}

const QDateTime &distantPast() {
    static const QDateTime date(QDate(1, 1, 1), QTime(0, 0), QTimeZone::utc());
    return date;
}

std::optional<QJsonObject> decodeObject(const std::optional<QByteArray> &data) {
    if (!data)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

std::optional<qint64> integerValue(const QJsonValue &value) {
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number != std::trunc(number) || std::abs(number) >= 0x1p63)
        return std::nullopt;
    return qint64(number);
}

std::optional<QDateTime> timeValue(const QJsonValue &value) {
    if (!value.isDouble())
        return std::nullopt;
    return referenceDate().addMSecs(std::llround(value.toDouble() * 1000));
}

// The members of a stored JSON object that convert; one that does not is dropped alone.
template <typename Value>
QHash<QString, Value> decodeMap(const std::optional<QByteArray> &data,
                                std::optional<Value> (*convert)(const QJsonValue &)) {
    QHash<QString, Value> map;
    const auto object = decodeObject(data);
    if (!object)
        return map;
    for (auto it = object->begin(); it != object->end(); ++it) {
        if (const auto value = convert(it.value()))
            map.insert(it.key(), *value);
    }
    return map;
}

// A JSON object takes its members fastest in key order: each then goes at its end.
template <typename Value, typename Convert>
QByteArray encodeMap(const QHash<QString, Value> &map, Convert convert) {
    QStringList keys = map.keys();
    std::sort(keys.begin(), keys.end());
    QJsonObject object;
    for (const QString &key : std::as_const(keys))
        object.insert(key, convert(map.value(key)));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

template <typename Map> bool assignIfChanged(Map &field, Map value) {
    if (field == value)
        return false;
    field = std::move(value);
    return true;
}

} // namespace

AppUsageStore::AppUsageStore(DefaultsStore &defaults, const Clock &clock,
                             std::optional<QString> mainBundleIdentifier, QObject *parent)
    : QObject(parent), m_defaults(defaults), m_clock(clock),
      m_mainBundleIdentifier(std::move(mainBundleIdentifier)),
      m_launchCounts(decodeMap(defaults.data(launchCountsKey), integerValue)),
      m_lastLaunch(decodeMap(defaults.data(lastLaunchKey), timeValue)) {
    forgetOldest();
    recomputeScores();
}

AppUsageStore &AppUsageStore::shared() {
    static auto *store = [] {
        const auto &environment = AppEnvironment::current();
        return new AppUsageStore(*environment.defaults, *environment.clock,
                                 environment.bundles->mainBundleIdentifier());
    }();
    return *store;
}

void AppUsageStore::recomputeScores() {
    const QDateTime now = m_clock.now();
    QHash<QString, double> scores;
    scores.reserve(m_launchCounts.size());
    for (auto it = m_launchCounts.cbegin(); it != m_launchCounts.cend(); ++it) {
        const QDateTime last = m_lastLaunch.value(it.key(), distantPast());
        const double days = double(last.msecsTo(now)) / 1000.0 / secondsPerDay;
        // A launch in the future (the clock was set back) counts as one just now.
        const double recency = days >= 0 ? std::exp(-days / recencyDays) : 1.0;
        scores.insert(it.key(), 2.0 * double(it.value()) + 10.0 * recency);
    }
    if (assignIfChanged(m_scores, std::move(scores)))
        emit scoresChanged();
}

void AppUsageStore::recordLaunch(const QString &bundleID) {
    if (bundleID.isEmpty() || AppCatalog::excludedBundleIDs().contains(bundleID))
        return;
    if (m_mainBundleIdentifier && *m_mainBundleIdentifier == bundleID)
        return;
    const QDateTime now = m_clock.now();
    const bool isNewTime = m_lastLaunch.value(bundleID) != now;
    ++m_launchCounts[bundleID];
    m_lastLaunch.insert(bundleID, now);
    const bool forgotAny = forgetOldest();
    emit launchCountsChanged();
    if (isNewTime || forgotAny)
        emit lastLaunchChanged();
    recomputeScores();
    saveUsage();
}

void AppUsageStore::seedRunningApps(const QStringList &bundleIDs) {
    const QDateTime anHourAgo = m_clock.now().addSecs(-qint64(seededLaunchAgeSeconds));
    auto counts = m_launchCounts;
    auto lastLaunch = m_lastLaunch;
    for (const QString &bundleID : bundleIDs) {
        if (bundleID.isEmpty() || AppCatalog::excludedBundleIDs().contains(bundleID) ||
            counts.contains(bundleID))
            continue;
        counts.insert(bundleID, 1);
        lastLaunch.insert(bundleID, anHourAgo);
    }
    if (counts.size() == m_launchCounts.size())
        return;
    m_launchCounts = std::move(counts);
    const auto previousLaunches = std::exchange(m_lastLaunch, std::move(lastLaunch));
    forgetOldest();
    emit launchCountsChanged();
    if (m_lastLaunch != previousLaunches)
        emit lastLaunchChanged();
    recomputeScores();
    saveUsage();
}

void AppUsageStore::saveUsage() {
    m_defaults.setData(encodeMap(m_launchCounts, [](qint64 count) { return count; }),
                       launchCountsKey);
    m_defaults.setData(encodeMap(m_lastLaunch,
                                 [](const QDateTime &time) {
                                     return double(referenceDate().msecsTo(time)) / 1000.0;
                                 }),
                       lastLaunchKey);
}

// Keeps the identifiers launched last, so that the store cannot grow without bound; a launch
// time without a count means nothing and goes too.
bool AppUsageStore::forgetOldest() {
    const qsizetype timesWithoutCount = m_lastLaunch.removeIf(
        [this](const auto &entry) { return !m_launchCounts.contains(entry.key()); });
    if (m_launchCounts.size() <= maximumIdentifiers)
        return timesWithoutCount > 0;
    std::vector<std::pair<QDateTime, QString>> byAge;
    byAge.reserve(size_t(m_launchCounts.size()));
    for (auto it = m_launchCounts.cbegin(); it != m_launchCounts.cend(); ++it)
        byAge.emplace_back(m_lastLaunch.value(it.key(), distantPast()), it.key());
    const auto excess = byAge.begin() + (m_launchCounts.size() - maximumIdentifiers);
    std::nth_element(byAge.begin(), excess, byAge.end());
    for (auto it = byAge.begin(); it != excess; ++it) {
        m_launchCounts.remove(it->second);
        m_lastLaunch.remove(it->second);
    }
    return true;
}
