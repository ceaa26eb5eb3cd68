#pragma once

#include "platform/DefaultsStore.h"

#include <QHash>

// A defaults store in memory that counts its writes.
class MemoryDefaultsStore final : public DefaultsStore {
public:
    std::optional<QByteArray> data(const QString &key) const override {
        const QVariant value = m_values.value(key);
        if (value.typeId() != QMetaType::QByteArray)
            return std::nullopt;
        return value.toByteArray();
    }
    void setData(const QByteArray &value, const QString &key) override { write(key, value); }
    QVariant object(const QString &key) const override { return m_values.value(key); }
    void setBool(bool value, const QString &key) override { write(key, value); }

    // Puts a value in place as an earlier run would have left it; not counted as a write.
    void preset(const QString &key, const QVariant &value) { m_values.insert(key, value); }
    int writeCount() const { return m_writes; }

private:
    void write(const QString &key, const QVariant &value) {
        m_values.insert(key, value);
        ++m_writes;
    }

    QHash<QString, QVariant> m_values;
    int m_writes = 0;
};
