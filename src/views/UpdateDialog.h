#pragma once

#include "platform/UpdatePresenter.h"

#include <functional>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPointer>

// The outcome of a check for updates in a message box of its own, one at a time: the newest
// outcome replaces one that is still on screen.
class UpdateDialog final : public UpdatePresenter {
    Q_DECLARE_TR_FUNCTIONS(UpdateDialog)

public:
    using Opener = std::function<void(const QUrl &)>;

    // Downloads open in the user's browser.
    UpdateDialog();
    explicit UpdateDialog(Opener open);
    ~UpdateDialog() override;

    void showUpToDate(const QString &currentVersion) override;
    void showUpdateAvailable(const QString &newVersion, const QString &currentVersion,
                             const QUrl &download) override;
    void showCheckFailed(const QString &reason) override;

    // The box on screen, if any.
    QMessageBox *messageBox() const { return m_box; }

private:
    // With a download, the box offers to open it.
    void show(QMessageBox::Icon icon, const QString &text, const QString &informativeText,
              const QUrl &download = {});

    Opener m_open;
    QPointer<QMessageBox> m_box;
};
