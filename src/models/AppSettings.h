#pragma once

#include <QObject>
#include <QString>

class DefaultsStore;
class LoginItemService;

// The program's two user settings: whether the status item is shown, kept in the defaults
// store, and whether the program starts at login, which is whatever the login-item service
// says and is never stored by the program.
class AppSettings final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool showMenuBarIcon READ showMenuBarIcon WRITE setShowMenuBarIcon NOTIFY
                   showMenuBarIconChanged)
    Q_PROPERTY(
        bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)
public:
    static inline const QString showMenuBarIconKey = QStringLiteral("showMenuBarIcon");

    // Reads both settings; writes nothing and registers nothing.
    AppSettings(DefaultsStore &defaults, LoginItemService &loginItems, QObject *parent = nullptr);
    static AppSettings &shared();

    bool showMenuBarIcon() const { return m_showMenuBarIcon; }
    // Stores the value on every assignment, also an unchanged one.
    void setShowMenuBarIcon(bool show);

    bool launchAtLogin() const { return m_launchAtLogin; }
    // Registers or unregisters the program, then shows what the service reports: a registration
    // that failed or waits for approval turns the setting back off, a failed unregistration
    // turns it back on.
    void setLaunchAtLogin(bool launch);

    // Takes up a change made outside the program, such as an approval given in the system's
    // settings, without registering or unregistering anything.
    void syncLaunchAtLoginFromSystem();

signals:
    void showMenuBarIconChanged();
    void launchAtLoginChanged();

private:
    bool isEnabledInService() const;
    // Shows the service's state without acting on the service.
    void adoptLaunchAtLogin(bool enabled);

    DefaultsStore &m_defaults;
    LoginItemService &m_loginItems;
    bool m_showMenuBarIcon = true;
    bool m_launchAtLogin = false;
    // Set while the program itself writes launchAtLogin, so that the write does not act on the
    // service.
    bool m_isSyncingLaunchAtLogin = false;
};
