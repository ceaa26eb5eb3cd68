#include "StatusMenuItemViews.h"

#include "views/LiteralText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QWidgetAction>

PassthroughMenuItemView::PassthroughMenuItemView(QSize size) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedSize(size);
}

void PassthroughMenuItemView::addTo(QMenu &menu, bool isEnabled, const QString &text) {
    auto *action = new QWidgetAction(&menu);
    action->setText(LiteralText::forShortcutMarks(text));
    action->setDefaultWidget(this);
    action->setEnabled(isEnabled);
    menu.addAction(action);
}

MenuSpacerItemView::MenuSpacerItemView() : PassthroughMenuItemView({260, 6}) {}

SectionHeaderMenuItemView::SectionHeaderMenuItemView(const QString &title)
    : PassthroughMenuItemView({260, 28}) {
    auto *label = new QLabel(title, this);
    label->setTextFormat(Qt::PlainText);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() - 2);
    label->setFont(font);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(18, 0, 14, 0);
    layout->addWidget(label, 1, Qt::AlignVCenter);
}
