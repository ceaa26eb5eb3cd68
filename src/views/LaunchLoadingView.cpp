#include "LaunchLoadingView.h"

#include "SecondaryLabel.h"

#include <QProgressBar>
#include <QVBoxLayout>

LaunchLoadingView::LaunchLoadingView(QWidget *parent) : QWidget(parent) {
    auto *spinner = new QProgressBar(this);
    // No range: the busy indicator of the style, for work whose length is unknown.
    spinner->setRange(0, 0);
    spinner->setTextVisible(false);
    spinner->setFixedWidth(120);
    auto *label = new SecondaryLabel(tr("Loading apps…"), QPalette::Window, this);
    QFont font = label->font();
    font.setPointSizeF(13);
    label->setFont(font);
    spinner->setAccessibleName(label->text());

    auto *layout = new QVBoxLayout(this);
    layout->setSpacing(12);
    layout->addStretch();
    layout->addWidget(spinner, 0, Qt::AlignHCenter);
    layout->addWidget(label, 0, Qt::AlignHCenter);
    layout->addStretch();
}
