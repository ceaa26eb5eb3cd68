#include "SettingToggleRow.h"

#include "SecondaryLabel.h"
#include "ToggleSwitch.h"

#include <QBoxLayout>
#include <QLabel>

namespace {
constexpr int columnSpacing = 12;
constexpr int lineSpacing = 3;
constexpr int minimumGap = 8;

QFont systemFont(const QFont &base, qreal pointSize, QFont::Weight weight) {
    QFont font = base;
    font.setPointSizeF(pointSize);
    font.setWeight(weight);
    return font;
}
} // namespace

SettingToggleRow::SettingToggleRow(const QString &title, const QString &description,
                                   QWidget *parent)
    : QWidget(parent), m_title(new QLabel(title, this)),
      m_description(new SecondaryLabel(description, QPalette::Window, this)),
      m_switch(new ToggleSwitch(this)) {
    m_title->setTextFormat(Qt::PlainText);
    m_title->setFont(systemFont(font(), 13, QFont::Medium));
    m_description->setFont(systemFont(font(), 11, QFont::Normal));
    m_description->setWordWrap(true);
    m_switch->setAccessibleName(title);
    m_switch->setAccessibleDescription(description);

    auto *text = new QVBoxLayout;
    text->setSpacing(lineSpacing);
    text->addWidget(m_title);
    text->addWidget(m_description);

    // The text takes all the width that the switch leaves, so the flexible space between them
    // stays at its least, with the row's spacing on either side of it.
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(QMargins());
    row->setSpacing(0);
    row->addLayout(text, 1);
    row->addSpacing(columnSpacing + minimumGap + columnSpacing);
    row->addWidget(m_switch, 0, Qt::AlignTop);

    connect(m_switch, &ToggleSwitch::clicked, this, &SettingToggleRow::switched);
}

bool SettingToggleRow::isOn() const {
    return m_switch->isChecked();
}

void SettingToggleRow::setOn(bool on) {
    m_switch->setChecked(on);
}
