#pragma once

#include <QWidget>

// What the main window shows while the installed applications are still being read: a spinner
// and "Loading apps…", centred.
class LaunchLoadingView final : public QWidget {
    Q_OBJECT
public:
    explicit LaunchLoadingView(QWidget *parent = nullptr);
};
