#include "AppSettings.h"

#include "AppEnvironment.h"
#include "LaunchAtLogin.h"
#include "platform/DefaultsStore.h"
#include "platform/LoginItemService.h"

AppSettings::AppSettings(DefaultsStore &defaults, LoginItemService &loginItems, QObject *parent)
    : QObject(parent), m_defaults(defaults), m_loginItems(loginItems) {
    const QVariant stored = m_defaults.object(showMenuBarIconKey);
    // Anything but a Boolean under the key counts as nothing stored.
    m_showMenuBarIcon = stored.typeId() == QMetaType::Bool ? stored.toBool() : true;
    m_launchAtLogin = isEnabledInService();
}

AppSettings &AppSettings::shared() {
    static auto *settings = [] {
        const auto &environment = AppEnvironment::current();
        return new AppSettings(*environment.defaults, *environment.loginItems);
    }();
    return *settings;
}

void AppSettings::setShowMenuBarIcon(bool show) {
    if (show != m_showMenuBarIcon) {
        m_showMenuBarIcon = show;
        emit showMenuBarIconChanged();
    }
    m_defaults.setBool(show, showMenuBarIconKey);
}

void AppSettings::setLaunchAtLogin(bool launch) {
    const bool old = m_launchAtLogin;
    if (launch != old) {
        m_launchAtLogin = launch;
        emit launchAtLoginChanged();
    }
    if (m_isSyncingLaunchAtLogin || launch == old)
        return;
    // A failure is dropped: reading the status back below puts the setting right.
    [[maybe_unused]] const auto error = LaunchAtLogin::setEnabled(m_loginItems, launch);
    adoptLaunchAtLogin(isEnabledInService());
}

void AppSettings::syncLaunchAtLoginFromSystem() {
    adoptLaunchAtLogin(isEnabledInService());
}

bool AppSettings::isEnabledInService() const {
    return m_loginItems.status() == LoginItemService::Status::enabled;
}

void AppSettings::adoptLaunchAtLogin(bool enabled) {
    if (enabled == m_launchAtLogin)
        return;
    m_isSyncingLaunchAtLogin = true;
    setLaunchAtLogin(enabled);
    m_isSyncingLaunchAtLogin = false;
}
