#pragma once

#include "SupportMail.h"

#include <functional>
#include <QWidget>

class AppSettings;
class ApplicationBundles;
class QPushButton;
class SettingToggleRow;

// The settings popover: a popup with a switch for starting at login, one for the status item,
// and the link that writes to support. A switch takes effect at once; there is nothing to
// confirm. The launch-at-login switch is read from the system again each time it is shown.
class SettingsPopoverView final : public QWidget {
    Q_OBJECT
public:
    static constexpr int fixedWidth = 300;

    SettingsPopoverView(AppSettings &settings, const ApplicationBundles &bundles,
                        QWidget *parent = nullptr);
    SettingsPopoverView(AppSettings &settings, SupportMail supportMail, QWidget *parent = nullptr);

    // Opens below the anchor, centred on it and kept on its screen. A click anywhere else, the
    // anchor included, closes it and goes no further.
    void popUp(QWidget *anchor);

signals:
    void hidden();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void bind(SettingToggleRow *row, const std::function<bool()> &value,
              const std::function<void(bool)> &assign, void (AppSettings::*changed)());
    void dimSupportLink();
    void offerSupportLink();

    AppSettings &m_settings;
    SupportMail m_supportMail;
    QPushButton *m_supportLink = nullptr;
};
