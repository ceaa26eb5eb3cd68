#pragma once

#include <QPushButton>

// The button of the one action that matters most where it stands: filled with the accent colour,
// darkened or lightened as far as its label needs to stay readable, and ringed while it has the
// keyboard, the ring standing out from the background around it.
class ProminentButton final : public QPushButton {
    Q_OBJECT
public:
    explicit ProminentButton(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};
