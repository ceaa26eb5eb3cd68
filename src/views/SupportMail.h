#pragma once

#include <functional>
#include <QString>
#include <QUrl>

// The support link: a new mail to the support address, its body filled in with the program's
// version and the system it runs on, handed to the user's mail program.
class SupportMail {
public:
    using Opener = std::function<void(const QUrl &)>;

    // What the mail tells support. An empty version or build stands for one that is not known.
    struct About {
        QString version;
        QString build;
        QString system; // the system's name and version, as the user would read it
    };

    // The address, version and build fixed when the program was built, this system, and the
    // desktop's handler of mail links.
    SupportMail();
    SupportMail(const QString &address, const About &about, Opener open);

    // Invalid when no link can be formed from the address.
    QUrl url() const;
    // Opens the link, and does nothing more when there is none or nothing handles it.
    void sendSupportMail() const;

private:
    QString m_address;
    About m_about;
    Opener m_open;
};
