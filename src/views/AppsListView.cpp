#include "AppsListView.h"

#include "AppActionRow.h"
#include "AppListIcon.h"
#include "AppsListAccessible.h"
#include "AppsListActions.h"
#include "AppsListFilter.h"
#include "AppsListModel.h"
#include "AppsListSelection.h"
#include "SelectionBar.h"

#include <QKeyEvent>
#include <QListView>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {

constexpr int spinnerStepMilliseconds = 100;

} // namespace

AppsListView::AppsListView(WindowMonitor &monitor, AppCatalog &catalog, AppUsageStore &usage,
                           IconCache &icons, AppsListActions &actions,
                           const ApplicationBundles &bundles, QWidget *parent)
    : QWidget(parent), m_actions(actions), m_icons(new AppListIcon(icons, this)),
      m_model(new AppsListModel(monitor, catalog, usage, actions, bundles, this)),
      m_filter(new AppsListFilter(*m_model, this)),
      m_selection(new AppsListSelection(actions, *m_model, *m_filter, this)),
      m_selectionBar(new SelectionBar(this)), m_list(new QListView(this)),
      m_rowDelegate(new AppActionRow(*m_icons, this)) {
    AppsListAccessible::install();
    setBackgroundRole(QPalette::Window);
    setAutoFillBackground(true);

    m_list->setModel(m_filter);
    m_list->setItemDelegate(m_rowDelegate);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->viewport()->setBackgroundRole(QPalette::Window);
    m_list->installEventFilter(this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_selectionBar);
    layout->addWidget(m_list, 1);

    connect(m_rowDelegate, &AppActionRow::selectionChangeRequested, this,
            [this](const QModelIndex &index, bool isOn) {
                if (const ListItem *item = itemAt(index))
                    m_selection->toggleSelection(item->id, isOn);
            });
    connect(m_rowDelegate, &AppActionRow::primaryActionRequested, this,
            &AppsListView::pressRowAction);
    connect(m_selectionBar, &SelectionBar::actionTriggered, this,
            &AppsListView::performSelectedActions);

    connect(m_icons, &AppListIcon::imageArrived, m_list->viewport(), qOverload<>(&QWidget::update));
    connect(m_model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex &, int first, int last) {
                for (int row = first; row <= last; ++row)
                    m_icons->forget(m_model->row(row).key);
            });
    connect(m_model, &AppsListModel::aboutToRecompose, this, &AppsListView::holdScrollPosition);
    // Connected after the filter, which follows the same signal: the rows shown are final here.
    connect(m_model, &AppsListModel::recomposed, this, &AppsListView::restoreScrollPosition);

    connect(&actions, &AppsListActions::selectedIDsChanged, this,
            &AppsListView::updateSelectionBar);
    connect(m_filter, &QAbstractItemModel::rowsInserted, this, &AppsListView::updateSelectionBar);
    connect(m_filter, &QAbstractItemModel::rowsRemoved, this, &AppsListView::updateSelectionBar);
    connect(m_filter, &QAbstractItemModel::modelReset, this, &AppsListView::updateSelectionBar);
    connect(m_filter, &QAbstractItemModel::layoutChanged, this, &AppsListView::updateSelectionBar);

    m_spinnerTimer.setInterval(spinnerStepMilliseconds);
    connect(&m_spinnerTimer, &QTimer::timeout, this, [this] {
        m_rowDelegate->advanceSpinner();
        repaintBusyRows();
    });
    connect(&actions, &AppsListActions::busyIDsChanged, this, &AppsListView::updateSpinner);

    updateSelectionBar();
    updateSpinner();
}

void AppsListView::setSearchText(const QString &text) {
    m_filter->setSearchText(text);
}

const ListItem *AppsListView::itemAt(const QModelIndex &index) const {
    if (!index.isValid() || index.model() != m_filter)
        return nullptr;
    const AppsListModel::Row &row = m_model->row(m_filter->mapToSource(index).row());
    return row.kind == AppsListModel::RowKind::item ? &row.item : nullptr;
}

void AppsListView::toggleRow(const QModelIndex &index) {
    if (const ListItem *item = itemAt(index))
        m_selection->toggleSelection(item->id, !m_actions.selectedIDs().contains(item->id));
}

// A busy row shows a spinner instead of its button: there is nothing to press.
void AppsListView::pressRowAction(const QModelIndex &index) {
    const ListItem *item = itemAt(index);
    if (item && !m_actions.busyIDs().contains(item->id))
        m_selection->performPrimaryAction(*item);
}

void AppsListView::performSelectedActions() {
    m_selection->performSelectedActions(m_filter->shownItems(ListItem::Kind::open),
                                        m_filter->shownItems(ListItem::Kind::quit));
}

void AppsListView::updateSelectionBar() {
    const bool isShown = !m_actions.selectedIDs().isEmpty();
    if (isShown) {
        const int openCount = m_selection->openCount();
        const int quitCount = m_selection->quitCount();
        m_selectionBar->setTexts(AppsListSelection::selectionSummary(openCount, quitCount),
                                 AppsListSelection::actionButtonTitle(openCount, quitCount));
    }
    m_selectionBar->setVisible(isShown);
}

// The spinner turns only while something is busy.
void AppsListView::updateSpinner() {
    if (m_actions.busyIDs().isEmpty())
        m_spinnerTimer.stop();
    else if (!m_spinnerTimer.isActive())
        m_spinnerTimer.start();
}

void AppsListView::repaintBusyRows() {
    for (const QString &id : m_actions.busyIDs())
        for (const int row : m_model->itemRows(id))
            if (const QModelIndex shown = m_filter->mapFromSource(m_model->index(row));
                shown.isValid())
                m_list->update(shown);
}

// Rows that come or go above the viewport would move what the user is looking at; the row at
// the top stays where it was instead. At the very top, new rows show.
void AppsListView::holdScrollPosition() {
    m_scrollAnchor = QPersistentModelIndex();
    if (m_list->verticalScrollBar()->value() == 0)
        return;
    const QModelIndex top = m_list->indexAt(QPoint(0, 0));
    if (!top.isValid())
        return;
    m_scrollAnchor = top;
    m_scrollAnchorTop = m_list->visualRect(top).top();
}

void AppsListView::restoreScrollPosition() {
    if (!m_scrollAnchor.isValid())
        return;
    const int moved = m_list->visualRect(m_scrollAnchor).top() - m_scrollAnchorTop;
    if (moved != 0)
        m_list->verticalScrollBar()->setValue(m_list->verticalScrollBar()->value() + moved);
    m_scrollAnchor = QPersistentModelIndex();
}

// Home and End, with Control or without, go to the first or last item; headers take no focus.
void AppsListView::moveToEdge(bool toFirst) {
    const int count = m_filter->rowCount();
    for (int i = 0; i < count; ++i) {
        const QModelIndex index = m_filter->index(toFirst ? i : count - 1 - i, 0);
        if (!itemAt(index))
            continue;
        m_list->setCurrentIndex(index);
        if (toFirst)
            m_list->scrollToTop();
        else
            m_list->scrollToBottom();
        return;
    }
}

bool AppsListView::eventFilter(QObject *watched, QEvent *event) {
    if (watched != m_list || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    switch (static_cast<QKeyEvent *>(event)->key()) {
    case Qt::Key_Space:
        toggleRow(m_list->currentIndex());
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        pressRowAction(m_list->currentIndex());
        return true;
    case Qt::Key_Home:
    case Qt::Key_End:
        moveToEdge(static_cast<QKeyEvent *>(event)->key() == Qt::Key_Home);
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}
