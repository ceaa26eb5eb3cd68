#include "LaunchLoadingView.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

LaunchLoadingView::LaunchLoadingView(QWidget *parent) : QWidget(parent) {
    auto *spinner = new QProgressBar(this);
    // No range: the busy indicator of the style, for work whose length is unknown.
    spinner->setRange(0, 0);
    spinner->setTextVisible(false);
    spinner->setFixedWidth(120);
    auto *label = new QLabel(tr("Loading apps…"), this);
    QFont font = label->font();
    font.setPointSizeF(13);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    spinner->setAccessibleName(label->text());

    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(12);
    layout->addStretch();
    layout->addWidget(spinner, 0, Qt::AlignHCenter);
    layout->addWidget(label, 0, Qt::AlignHCenter);
    layout->addStretch();
}
