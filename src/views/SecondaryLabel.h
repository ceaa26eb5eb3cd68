#pragma once

#include <QLabel>

// Text that says less than the text around it: the theme's dimmed colour, held to the contrast
// a reader needs against the background whatever the theme dims it to.
class SecondaryLabel final : public QLabel {
    Q_OBJECT
public:
    // background: the role of the colour that the label's parent paints behind it.
    SecondaryLabel(const QString &text, QPalette::ColorRole background, QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    void recolour();

    QPalette::ColorRole m_background;
};
