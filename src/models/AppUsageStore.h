#pragma once

#include <optional>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QStringList>

class Clock;
class DefaultsStore;

// How often and how recently the user launched each application, kept in the defaults store,
// and the usage score derived from it.
class AppUsageStore final : public QObject {
    Q_OBJECT
public:
    static inline const QString launchCountsKey = QStringLiteral("appUsage.launchCounts");
    static inline const QString lastLaunchKey = QStringLiteral("appUsage.lastLaunch");
    // The identifiers kept, those launched last: far more than anyone uses.
    static constexpr qsizetype maximumIdentifiers = 2000;

    AppUsageStore(DefaultsStore &defaults, const Clock &clock,
                  std::optional<QString> mainBundleIdentifier, QObject *parent = nullptr);
    static AppUsageStore &shared();

    const QHash<QString, double> &scores() const { return m_scores; }
    const QHash<QString, qint64> &launchCounts() const { return m_launchCounts; }
    const QHash<QString, QDateTime> &lastLaunch() const { return m_lastLaunch; }
    // The score of an identifier, 0 when it has none.
    double score(const QString &bundleID) const { return m_scores.value(bundleID, 0.0); }

    void recordLaunch(const QString &bundleID);
    void seedRunningApps(const QStringList &bundleIDs);
    void recomputeScores();
    void saveUsage();

signals:
    void scoresChanged();
    void launchCountsChanged();
    void lastLaunchChanged();

private:
    // Whether anything was forgotten.
    bool forgetOldest();

    DefaultsStore &m_defaults;
    const Clock &m_clock;
    std::optional<QString> m_mainBundleIdentifier;
    QHash<QString, double> m_scores;
    QHash<QString, qint64> m_launchCounts;
    QHash<QString, QDateTime> m_lastLaunch;
};
