#pragma once

#include <optional>
#include <QByteArray>
#include <QString>
#include <QVariant>

// The user's persistent key-value store for the program's small state.
class DefaultsStore {
public:
    virtual ~DefaultsStore() = default;

    // The byte string stored under the key; none when nothing is stored or the value is no byte
    // string.
    virtual std::optional<QByteArray> data(const QString &key) const = 0;
    virtual void setData(const QByteArray &value, const QString &key) = 0;
    // The stored value as it is, or an invalid QVariant when nothing is stored.
    virtual QVariant object(const QString &key) const = 0;
    virtual void setBool(bool value, const QString &key) = 0;
};
