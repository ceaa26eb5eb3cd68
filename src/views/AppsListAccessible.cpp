#include "AppsListAccessible.h"

#include "AppsListFilter.h"
#include "AppsListModel.h"
#include "AppsListRowAccessible.h"
#include "AppsListView.h"

#include <QListView>

namespace {

QAccessibleInterface *appsListFactory(const QString &className, QObject *object) {
    if (className != QLatin1String("QListView"))
        return nullptr;
    auto *list = qobject_cast<QListView *>(object);
    return list && AppsListAccessible::appsListViewOf(list) ? new AppsListAccessible(list)
                                                            : nullptr;
}

} // namespace

AppsListAccessible::AppsListAccessible(QListView *list)
    : QAccessibleWidget(list, QAccessible::List) {
    // The rows as the view will show them, even if it is asked before it has them.
    const QAbstractItemModel *model = &appsListViewOf(list)->rows();
    QObject::connect(
        model, &QAbstractItemModel::rowsInserted, &m_rowsObserver,
        [this](const QModelIndex &, int first, int last) { announceInsertion(first, last); });
    QObject::connect(
        model, &QAbstractItemModel::rowsAboutToBeRemoved, &m_rowsObserver,
        [this](const QModelIndex &, int first, int last) { announceRemoval(first, last); });
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, &m_rowsObserver,
                     [this] { dropRowsThatWent(); });
    // Rows that move come as a new layout through the filter.
    QObject::connect(model, &QAbstractItemModel::layoutChanged, &m_rowsObserver,
                     [this] { announceReorder(); });
    QObject::connect(model, &QAbstractItemModel::modelAboutToBeReset, &m_rowsObserver,
                     [this] { announceAllRemoved(); });
    QObject::connect(model, &QAbstractItemModel::modelReset, &m_rowsObserver,
                     [this] { announceReorder(); });
    QObject::connect(model, &QAbstractItemModel::dataChanged, &m_rowsObserver,
                     [this](const QModelIndex &topLeft, const QModelIndex &bottomRight) {
                         announceChanges(topLeft.row(), bottomRight.row());
                     });
}

AppsListAccessible::~AppsListAccessible() {
    for (const QAccessible::Id id : std::as_const(m_rowIds))
        QAccessible::deleteAccessibleInterface(id);
}

void AppsListAccessible::install() {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(appsListFactory);
        return true;
    }();
}

void AppsListAccessible::announce(QAccessibleInterface *iface, QAccessible::Event type) {
    if (!iface)
        return;
    QAccessibleEvent event(iface, type);
    QAccessible::updateAccessibility(&event);
}

AppsListView *AppsListAccessible::appsListViewOf(const QListView *list) {
    auto *view = qobject_cast<AppsListView *>(list->parentWidget());
    return view && view->listView() == list ? view : nullptr;
}

QListView *AppsListAccessible::listView() const {
    return static_cast<QListView *>(widget());
}

const QAbstractItemModel *AppsListAccessible::rows() const {
    return listView()->model();
}

AppsListRowAccessible *AppsListAccessible::cachedRow(const QString &key) const {
    const QAccessible::Id id = m_rowIds.value(key);
    return id != 0 ? static_cast<AppsListRowAccessible *>(QAccessible::accessibleInterface(id))
                   : nullptr;
}

int AppsListAccessible::childCount() const {
    return isValid() ? rows()->rowCount() : 0;
}

QAccessibleInterface *AppsListAccessible::child(int index) const {
    if (index < 0 || index >= childCount())
        return nullptr;
    const QModelIndex row = rows()->index(index, 0);
    const QString key = row.data(AppsListModel::RowKeyRole).toString();
    if (AppsListRowAccessible *cached = cachedRow(key))
        return cached;
    auto *created = new AppsListRowAccessible(listView(), row);
    m_rowIds.insert(key, QAccessible::registerAccessibleInterface(created));
    return created;
}

int AppsListAccessible::indexOfChild(const QAccessibleInterface *child) const {
    if (!child || child->object() || child->parent() != this)
        return -1;
    return static_cast<const AppsListRowAccessible *>(child)->index().row();
}

QAccessibleInterface *AppsListAccessible::childAt(int x, int y) const {
    if (!isValid())
        return nullptr;
    const QModelIndex index =
        listView()->indexAt(listView()->viewport()->mapFromGlobal(QPoint(x, y)));
    return index.isValid() ? child(index.row()) : nullptr;
}

// The current row, while the list has the keyboard.
QAccessibleInterface *AppsListAccessible::focusChild() const {
    if (!isValid() || !listView()->hasFocus())
        return nullptr;
    const QModelIndex current = listView()->currentIndex();
    return current.isValid() ? child(current.row()) : nullptr;
}

// Announcing makes an interface for every row it names: without a screen reader listening that
// is all waste, and a search that brings back a thousand rows would pay for a thousand.
void AppsListAccessible::announceInsertion(int first, int last) const {
    if (!QAccessible::isActive())
        return;
    for (int row = first; row <= last; ++row)
        if (QAccessibleInterface *inserted = child(row))
            announce(inserted, QAccessible::ObjectCreated);
}

// While the rows are still there, so that a screen reader learns which ones go.
void AppsListAccessible::announceRemoval(int first, int last) const {
    if (!QAccessible::isActive())
        return;
    for (int row = first; row <= last; ++row)
        if (AppsListRowAccessible *going =
                cachedRow(rows()->index(row, 0).data(AppsListModel::RowKeyRole).toString()))
            announce(going, QAccessible::ObjectDestroyed);
}

void AppsListAccessible::announceAllRemoved() const {
    for (const QString &key : m_rowIds.keys())
        if (AppsListRowAccessible *going = cachedRow(key))
            announce(going, QAccessible::ObjectDestroyed);
}

void AppsListAccessible::announceChanges(int first, int last) const {
    if (!QAccessible::isActive())
        return;
    for (int row = first; row <= last; ++row)
        if (AppsListRowAccessible *changed =
                cachedRow(rows()->index(row, 0).data(AppsListModel::RowKeyRole).toString()))
            changed->announceChanges();
}

void AppsListAccessible::announceReorder() {
    dropRowsThatWent();
    QAccessibleEvent event(listView(), QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&event);
}

void AppsListAccessible::dropRowsThatWent() {
    for (auto it = m_rowIds.begin(); it != m_rowIds.end();) {
        const AppsListRowAccessible *row = cachedRow(it.key());
        if (row && row->isValid()) {
            ++it;
            continue;
        }
        QAccessible::deleteAccessibleInterface(it.value());
        it = m_rowIds.erase(it);
    }
}
