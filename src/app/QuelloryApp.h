#pragma once

#include "AppDelegate.h"

#include <QMainWindow>
#include <QObject>

struct ViewEnvironment;
class Scheduler;
class Updater;
class Workspace;

// The program as a whole: its one main window with the main view and the application menu, and
// the delegate that runs the shell.
class QuelloryApp final : public QObject {
    Q_OBJECT
public:
    static constexpr QSize defaultSize{460, 560};

    // Starts the updater at once; its command is enabled when it can check.
    QuelloryApp(const ViewEnvironment &environment, Workspace &workspace, Scheduler &scheduler,
                Updater &updater, QObject *parent = nullptr);

    // Qt's own icon lookups (the toolbar's gear, the window's icon) follow the desktop's theme,
    // as the program's own do. Called once, before any window.
    static void useDesktopIcons(const QString &desktopThemeName);

    AppDelegate &appDelegate() { return m_appDelegate; }
    QMainWindow &mainWindow() { return m_window; }

    // Shows the main window; once it has painted, firstPainted() and the delegate start the
    // rest, so that nothing the window does not show delays it.
    void start();
    // Another start of the program while this one runs.
    void reopen();

signals:
    // The main window is on screen: what it did not need may start now.
    void firstPainted();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void addApplicationMenu();
    void finishLaunching();

    AppDelegate m_appDelegate;
    Updater &m_updater;
    QMainWindow m_window;
    bool m_hasFinishedLaunching = false;
};
