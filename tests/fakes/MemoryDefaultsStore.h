#pragma once

#include "platform/DefaultsStore.h"

#include <QHash>

// A defaults store in memory.
class MemoryDefaultsStore final : public DefaultsStore {
public:
    QHash<QString, QVariant> values;

    std::optional<QByteArray> data(const QString &key) const override {
        const QVariant value = values.value(key);
        return value.typeId() == QMetaType::QByteArray ? std::optional(value.toByteArray())
                                                       : std::nullopt;
    }
    void setData(const QByteArray &value, const QString &key) override { values[key] = value; }
    QVariant object(const QString &key) const override { return values.value(key); }
    void setBool(bool value, const QString &key) override { values[key] = value; }
};
