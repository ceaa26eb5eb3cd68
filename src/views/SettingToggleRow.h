#pragma once

#include <QWidget>

class QLabel;
class ToggleSwitch;

// One setting: its title and a short explanation on the left, wrapped onto as many lines as
// they need, and a switch at the top right.
class SettingToggleRow final : public QWidget {
    Q_OBJECT
public:
    SettingToggleRow(const QString &title, const QString &description, QWidget *parent = nullptr);

    bool isOn() const;
    // Shows the setting's value; emits nothing.
    void setOn(bool on);

signals:
    // The user turned the switch.
    void switched(bool on);

private:
    QLabel *m_title;
    QLabel *m_description;
    ToggleSwitch *m_switch;
};
