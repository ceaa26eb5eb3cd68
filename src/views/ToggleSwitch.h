#pragma once

#include <QAbstractButton>

// An on/off switch in the small size of a settings pane: a rounded track, filled with the
// highlight colour while on, and a round thumb at the end that is on. Space toggles it.
class ToggleSwitch final : public QAbstractButton {
    Q_OBJECT
public:
    explicit ToggleSwitch(QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
