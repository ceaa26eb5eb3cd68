#include "UpdateDialog.h"

#include "LiteralText.h"

#include <QDesktopServices>
#include <QPushButton>

UpdateDialog::UpdateDialog()
    : UpdateDialog([](const QUrl &url) { QDesktopServices::openUrl(url); }) {}

UpdateDialog::UpdateDialog(Opener open) : m_open(std::move(open)) {}

UpdateDialog::~UpdateDialog() {
    delete m_box;
}

void UpdateDialog::showUpToDate(const QString &currentVersion) {
    show(QMessageBox::Information, tr("You're up to date"),
         tr("Quellory %1 is the newest version available.").arg(currentVersion));
}

void UpdateDialog::showUpdateAvailable(const QString &newVersion, const QString &currentVersion,
                                       const QUrl &download) {
    show(QMessageBox::Information, tr("A new version of Quellory is available"),
         tr("Quellory %1 is available — you have %2.").arg(newVersion, currentVersion), download);
}

void UpdateDialog::showCheckFailed(const QString &reason) {
    show(QMessageBox::Warning, tr("Couldn't check for updates"), reason);
}

void UpdateDialog::show(QMessageBox::Icon icon, const QString &text, const QString &informativeText,
                        const QUrl &download) {
    delete m_box;
    // The main window may be hidden while the program lives in the tray: the box stands alone.
    m_box = new QMessageBox(icon, tr("Software Update"), text, QMessageBox::Close);
    m_box->setInformativeText(informativeText);
    m_box->setAttribute(Qt::WA_DeleteOnClose);
    if (!download.isEmpty()) {
        QPushButton *button = m_box->addButton(LiteralText::forShortcutMarks(tr("Download")),
                                               QMessageBox::AcceptRole);
        m_box->setDefaultButton(button);
        QObject::connect(button, &QPushButton::clicked, m_box,
                         [open = m_open, download] { open(download); });
    }
    m_box->show();
    m_box->raise();
    m_box->activateWindow();
}
