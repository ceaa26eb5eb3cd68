#pragma once

#include <functional>
#include <QString>
#include <QUrl>

class ApplicationBundles;

// The support link: a new mail to the support address, its body filled in with the program's
// version and the system it runs on, handed to the user's mail program.
class SupportMail {
public:
    using Opener = std::function<void(const QUrl &)>;
    // Whether some program would open a link.
    using HandlerCheck = std::function<bool(const QUrl &)>;

    // What the mail tells support. An empty version or build stands for one that is not known.
    struct About {
        QString version;
        QString build;
        QString system; // the system's name and version, as the user would read it
    };

    // The address, version and build fixed when the program was built, this system, and the
    // desktop's handler of mail links among the installed applications.
    explicit SupportMail(const ApplicationBundles &bundles);
    SupportMail(const QString &address, const About &about, Opener open, HandlerCheck hasHandler);

    // Invalid when no link can be formed from the address.
    QUrl url() const;
    // A link can be formed and a mail program is there to open it.
    bool canSend() const;
    // Opens the link when it can; otherwise does nothing.
    void sendSupportMail() const;
    QString address() const { return m_address; }

private:
    QString m_address;
    About m_about;
    Opener m_open;
    HandlerCheck m_hasHandler;
};
