#pragma once

#include "ViewEnvironment.h"

#include <QWidget>

class AppsListView;
class LaunchLoadingView;
class QLineEdit;
class QStackedWidget;
class QToolButton;
class SettingsPopoverView;

// The main window's content: a toolbar with the settings button and the search field above
// either the loading placeholder or the application list.
class MainView final : public QWidget {
    Q_OBJECT
public:
    // The window that shows the main view carries this title; the shell finds it by it.
    static inline const QString windowTitle = QStringLiteral("Quellory");
    static constexpr QSize minimumSize{320, 480};
    static constexpr QSize idealSize{460, 560};
    static constexpr QSize maximumSize{560, 780};

    explicit MainView(const ViewEnvironment &environment, QWidget *parent = nullptr);

    QString searchText() const;
    bool showSettings() const { return m_showSettings; }
    void setShowSettings(bool show);

    // The first window titled "Quellory" in the order the program made its windows, or none: a
    // widget never shown is no window yet.
    static QWidget *findMainWindow();
    // Holds the main window to the main view's size limits.
    static void configureMainWindow();
    // The size a window of this size is corrected to.
    static QSize correctedSize(QSize size);

    // The toolbar's gear from the icon theme; null without one, and the button shows its text.
    static QIcon settingsIcon();

    QSize sizeHint() const override { return idealSize; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWidget *makeToolbar();
    void addClearButton();
    void showContent();
    SettingsPopoverView *settingsPopover();
    AppsListView *list();

    ViewEnvironment m_environment;
    QLineEdit *m_search;
    QToolButton *m_settingsButton = nullptr;
    SettingsPopoverView *m_settingsPopover = nullptr;
    QStackedWidget *m_content;
    LaunchLoadingView *m_loading;
    AppsListView *m_list = nullptr;
    bool m_showSettings = false;
};
