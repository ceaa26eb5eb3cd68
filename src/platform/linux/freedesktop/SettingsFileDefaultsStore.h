#pragma once

#include "platform/DefaultsStore.h"

#include <QSettings>

// The defaults store as a settings file in the user's config folder
// ($XDG_CONFIG_HOME/app.quellory.Quellory/Quellory.conf). Every write reaches the disk at once,
// atomically, so nothing is lost when the session ends without a clean quit.
class SettingsFileDefaultsStore final : public DefaultsStore {
public:
    // The user's own settings file.
    SettingsFileDefaultsStore();
    // A settings file at the given path.
    explicit SettingsFileDefaultsStore(const QString &path);

    std::optional<QByteArray> data(const QString &key) const override;
    void setData(const QByteArray &value, const QString &key) override;
    QVariant object(const QString &key) const override;
    void setBool(bool value, const QString &key) override;

private:
    void write(const QString &key, const QVariant &value);

    mutable QSettings m_settings;
};
