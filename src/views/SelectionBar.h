#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

// The bar above the list while anything is ticked: how much is selected on the left, the button
// that acts on all of it on the right, a divider below.
class SelectionBar final : public QWidget {
    Q_OBJECT
public:
    explicit SelectionBar(QWidget *parent = nullptr);

    // Both texts are built from numbers and shown as they are.
    void setTexts(const QString &summary, const QString &actionTitle);
    QString summary() const;
    QPushButton *actionButton() const { return m_actionButton; }

signals:
    void actionTriggered();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLabel *m_summary;
    QPushButton *m_actionButton;
};
