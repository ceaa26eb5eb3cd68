#include "FakeKeyboard.h"

#include "fake-input-client-protocol.h"
#include "platform/linux/wayland/WaylandConnection.h"

namespace {

// Linux's key codes follow the keyboard's rows.
int keyCode(QChar character) {
    const QString rows[] = {QStringLiteral("qwertyuiop"), QStringLiteral("asdfghjkl"),
                            QStringLiteral("zxcvbnm")};
    const int rowStarts[] = {16, 30, 44};
    for (int row = 0; row < 3; ++row) {
        if (const auto at = rows[row].indexOf(character); at >= 0)
            return rowStarts[row] + int(at);
    }
    return 57; // the space bar
}

} // namespace

FakeKeyboard::FakeKeyboard() : m_connection(WaylandConnection::open()) {
    const auto *global = m_connection ? m_connection->global("org_kde_kwin_fake_input") : nullptr;
    if (!global || global->version < ORG_KDE_KWIN_FAKE_INPUT_KEYBOARD_KEY_SINCE_VERSION)
        return;
    m_input = static_cast<org_kde_kwin_fake_input *>(
        m_connection->bind(*global, &org_kde_kwin_fake_input_interface,
                           ORG_KDE_KWIN_FAKE_INPUT_KEYBOARD_KEY_SINCE_VERSION));
    org_kde_kwin_fake_input_authenticate(m_input, "Quellory's tests", "typing into a window");
}

FakeKeyboard::~FakeKeyboard() {
    if (m_input)
        org_kde_kwin_fake_input_destroy(m_input);
}

void FakeKeyboard::type(const QString &text) {
    for (const QChar character : text) {
        for (const std::uint32_t state : {1u, 0u})
            org_kde_kwin_fake_input_keyboard_key(m_input, std::uint32_t(keyCode(character)), state);
    }
    m_connection->roundtrip();
}
