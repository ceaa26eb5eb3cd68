#include "SelectionBar.h"

#include "LiteralText.h"
#include "ProminentButton.h"
#include "SecondaryLabel.h"

#include <QHBoxLayout>
#include <QPainter>

namespace {

constexpr int horizontalInset = 14;
constexpr int verticalInset = 8;
constexpr int dividerWidth = 1;

QFont sized(QFont font, double points, QFont::Weight weight) {
    font.setPointSizeF(points);
    font.setWeight(weight);
    return font;
}

} // namespace

SelectionBar::SelectionBar(QWidget *parent)
    : QWidget(parent), m_summary(new SecondaryLabel({}, QPalette::Base, this)),
      m_actionButton(new ProminentButton(this)) {
    m_summary->setFont(sized(font(), 12, QFont::Normal));
    // One line at most; a narrow window cuts the text rather than widening.
    m_summary->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    m_actionButton->setFont(sized(font(), 13, QFont::Medium));
    m_actionButton->setAutoDefault(false);
    connect(m_actionButton, &QPushButton::clicked, this, &SelectionBar::actionTriggered);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(horizontalInset, verticalInset, horizontalInset,
                               verticalInset + dividerWidth);
    layout->addWidget(m_summary, 1);
    layout->addWidget(m_actionButton);
}

void SelectionBar::setTexts(const QString &summary, const QString &actionTitle) {
    m_summary->setText(summary);
    m_actionButton->setText(LiteralText::forShortcutMarks(actionTitle));
}

QString SelectionBar::summary() const {
    return m_summary->text();
}

void SelectionBar::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRect bar = rect().adjusted(0, 0, 0, -dividerWidth);
    painter.fillRect(bar, palette().color(QPalette::Base));
    QColor divider = palette().color(QPalette::WindowText);
    divider.setAlphaF(0.15f);
    painter.fillRect(QRect(0, bar.bottom() + 1, width(), dividerWidth), divider);
}
