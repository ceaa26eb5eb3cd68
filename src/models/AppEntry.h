#pragma once

#include <QHash>
#include <QString>

// One installed application as the rest of the program sees it.
struct AppEntry {
    QString id; // the bundle identifier
    QString name;
    QString path; // where the application's bundle lies
    bool isSystem = false;

    friend bool operator==(const AppEntry &, const AppEntry &) = default;
};

inline size_t qHash(const AppEntry &entry, size_t seed = 0) {
    return qHashMulti(seed, entry.id, entry.name, entry.path, entry.isSystem);
}
