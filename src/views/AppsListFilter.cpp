#include "AppsListFilter.h"

#include "AppsListModel.h"

using RowKind = AppsListModel::RowKind;

AppsListFilter::AppsListFilter(AppsListModel &model, QObject *parent)
    : QSortFilterProxyModel(parent), m_model(model) {
    setSourceModel(&model);
    // Whether a header or the empty-list text shows depends on the other rows.
    connect(&model, &AppsListModel::recomposed, this, &AppsListFilter::invalidateRowsFilter);
}

void AppsListFilter::setSearchText(const QString &text) {
    if (text == m_searchText)
        return;
    m_searchText = text;
    const QString query = text.trimmed();
    if (query != m_query) {
        m_query = query;
        m_foldedQuery = AppsListModel::searchFolded(query);
        invalidateRowsFilter();
    }
    // The empty-list text quotes the search as typed.
    const QModelIndex emptyList = mapFromSource(m_model.index(m_model.rowCount() - 1));
    if (emptyList.isValid())
        emit dataChanged(emptyList, emptyList, {Qt::DisplayRole, Qt::AccessibleTextRole});
}

QString AppsListFilter::emptyListText(const QString &searchText) {
    if (searchText.isEmpty())
        return tr("No apps found");
    return tr("No results for \"%1\"").arg(searchText);
}

QVariant AppsListFilter::data(const QModelIndex &index, int role) const {
    if ((role == Qt::DisplayRole || role == Qt::AccessibleTextRole) && index.isValid() &&
        m_model.row(mapToSource(index).row()).kind == RowKind::emptyList)
        return emptyListText(m_searchText);
    return QSortFilterProxyModel::data(index, role);
}

QList<ListItem> AppsListFilter::shownItems(ListItem::Kind kind) const {
    QList<ListItem> items;
    for (int row = 0; row < rowCount(); ++row) {
        const AppsListModel::Row &source = m_model.row(mapToSource(index(row, 0)).row());
        if (source.kind == RowKind::item && source.item.kind == kind)
            items.append(source.item);
    }
    return items;
}

bool AppsListFilter::isShown(const QString &bundleID, ListItem::Kind kind) const {
    const QList<int> rows = m_model.itemRows(bundleID);
    return std::any_of(rows.cbegin(), rows.cend(), [&](int row) {
        return m_model.row(row).item.kind == kind && mapFromSource(m_model.index(row)).isValid();
    });
}

bool AppsListFilter::filterAcceptsRow(int sourceRow, const QModelIndex &) const {
    switch (m_model.row(sourceRow).kind) {
    case RowKind::item:
        return matches(sourceRow);
    case RowKind::sectionHeader: {
        // A section's items follow its header up to the next row that is not an item.
        int end = sourceRow + 1;
        while (end < m_model.rowCount() && m_model.row(end).kind == RowKind::item)
            ++end;
        return anyMatches(sourceRow + 1, end);
    }
    case RowKind::emptyList:
        return !anyMatches(0, m_model.rowCount());
    }
    return false;
}

bool AppsListFilter::matches(int sourceRow) const {
    return m_query.isEmpty() || m_model.row(sourceRow).searchName.contains(m_foldedQuery);
}

bool AppsListFilter::anyMatches(int firstRow, int endRow) const {
    for (int row = firstRow; row < endRow; ++row)
        if (m_model.row(row).kind == RowKind::item && matches(row))
            return true;
    return false;
}
