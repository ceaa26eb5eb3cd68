#include "SettingsFileDefaultsStore.h"

SettingsFileDefaultsStore::SettingsFileDefaultsStore()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope,
                 QStringLiteral("app.quellory.Quellory"), QStringLiteral("Quellory")) {}

SettingsFileDefaultsStore::SettingsFileDefaultsStore(const QString &path)
    : m_settings(path, QSettings::IniFormat) {}

std::optional<QByteArray> SettingsFileDefaultsStore::data(const QString &key) const {
    const QVariant value = m_settings.value(key);
    if (value.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return value.toByteArray();
}

void SettingsFileDefaultsStore::setData(const QByteArray &value, const QString &key) {
    write(key, value);
}

QVariant SettingsFileDefaultsStore::object(const QString &key) const {
    const QVariant value = m_settings.value(key);
    // The file keeps Booleans as the words true and false; give them back as Booleans.
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text == QLatin1String("true") || text == QLatin1String("false"))
            return text == QLatin1String("true");
    }
    return value;
}

void SettingsFileDefaultsStore::setBool(bool value, const QString &key) {
    write(key, value);
}

void SettingsFileDefaultsStore::write(const QString &key, const QVariant &value) {
    m_settings.setValue(key, value);
    m_settings.sync();
}
