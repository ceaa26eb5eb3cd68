#pragma once

#include <memory>
#include <QString>

class WaylandConnection;
struct org_kde_kwin_fake_input;

// Types into the window that KWin has focused, as a keyboard would, through KWin's fake input
// interface (which KWin grants on the same desktop entry as its window list).
class FakeKeyboard {
public:
    FakeKeyboard();
    ~FakeKeyboard();

    bool isReady() const { return m_input != nullptr; }
    // Lower-case letters and blanks.
    void type(const QString &text);

private:
    std::unique_ptr<WaylandConnection> m_connection;
    org_kde_kwin_fake_input *m_input = nullptr;
};
