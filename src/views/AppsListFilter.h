#pragma once

#include "ListItem.h"

#include <QSortFilterProxyModel>

class AppsListModel;

// The list as the user sees it through the window's search: items whose name contains the query,
// a section's header only while the section shows an item, and the empty-list text only when no
// item shows at all. Rows come and go as fine-grained changes, so that what stays keeps its place.
class AppsListFilter final : public QSortFilterProxyModel {
    Q_OBJECT
public:
    explicit AppsListFilter(AppsListModel &model, QObject *parent = nullptr);

    // The text as typed; the query is that text without white space at either end.
    void setSearchText(const QString &text);
    const QString &searchText() const { return m_searchText; }
    const QString &query() const { return m_query; }

    static QString emptyListText(const QString &searchText);

    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // The items of one section that show, in list order.
    QList<ListItem> shownItems(ListItem::Kind kind) const;
    // Whether an item of this kind with this identifier shows.
    bool isShown(const QString &bundleID, ListItem::Kind kind) const;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    bool matches(int sourceRow) const;
    bool anyMatches(int firstRow, int endRow) const;

    AppsListModel &m_model;
    QString m_searchText;
    QString m_query;
    QString m_foldedQuery;
};
