#include "AppUsageStore.h"

#include "AppCatalog.h"
#include "AppEnvironment.h"
#include "Clock.h"
#include "platform/ApplicationBundles.h"
#include "platform/DefaultsStore.h"

#include <cmath>
#include <limits>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

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

// A stored JSON object whose every member converts; empty when anything does not decode.
template <typename Value>
QHash<QString, Value> decodeMap(const std::optional<QByteArray> &data,
                                std::optional<Value> (*convert)(const QJsonValue &)) {
    QHash<QString, Value> map;
    const auto object = decodeObject(data);
    if (!object)
        return map;
    for (auto it = object->begin(); it != object->end(); ++it) {
        const auto value = convert(it.value());
        if (!value)
            return {};
        map.insert(it.key(), *value);
    }
    return map;
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
    ++m_launchCounts[bundleID];
    emit launchCountsChanged();
    auto lastLaunch = m_lastLaunch;
    lastLaunch.insert(bundleID, m_clock.now());
    if (assignIfChanged(m_lastLaunch, std::move(lastLaunch)))
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
    emit launchCountsChanged();
    if (assignIfChanged(m_lastLaunch, std::move(lastLaunch)))
        emit lastLaunchChanged();
    recomputeScores();
    saveUsage();
}

void AppUsageStore::saveUsage() {
    QJsonObject counts;
    for (auto it = m_launchCounts.cbegin(); it != m_launchCounts.cend(); ++it)
        counts.insert(it.key(), it.value());
    m_defaults.setData(QJsonDocument(counts).toJson(QJsonDocument::Compact), launchCountsKey);

    QJsonObject times;
    for (auto it = m_lastLaunch.cbegin(); it != m_lastLaunch.cend(); ++it)
        times.insert(it.key(), double(referenceDate().msecsTo(it.value())) / 1000.0);
    m_defaults.setData(QJsonDocument(times).toJson(QJsonDocument::Compact), lastLaunchKey);
}
