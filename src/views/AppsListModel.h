#pragma once

#include "AppsListSections.h"
#include "ListItem.h"

#include <QAbstractListModel>
#include <QHash>
#include <QSet>

class AppCatalog;
class ApplicationBundles;
class AppsListActions;
class AppUsageStore;
class WindowMonitor;

// The rows of the application list before any search: the "Running" header and its items, the
// "Not Running" header and its items, then the row that stands in for an empty list. Which of
// them show is up to the list filter. The rows follow the running applications, the catalog and
// the usage scores with fine-grained inserts, removals, moves and data changes, so that a view
// keeps its current row, its scroll position and the rows' icons across every change.
class AppsListModel final : public QAbstractListModel {
    Q_OBJECT
public:
    enum class RowKind { sectionHeader, item, emptyList };
    enum class Section { running, notRunning };
    enum Role {
        RowKindRole = Qt::UserRole + 1, // RowKind as int
        SectionRole,                    // Section as int
        ItemKindRole,                   // ListItem::Kind as int, items only
        BundleIDRole,
        IconPathRole,
        IsSelectedRole,
        IsBusyRole,
        RowKeyRole, // names a row for as long as it stays in the list
        ItemRole,   // the whole ListItem, items only
    };

    struct Row {
        RowKind kind = RowKind::item;
        Section section = Section::running;
        QString key;
        ListItem item;      // items only
        QString searchName; // the name as the search compares it
    };

    AppsListModel(WindowMonitor &monitor, AppCatalog &catalog, AppUsageStore &usage,
                  AppsListActions &actions, const ApplicationBundles &bundles,
                  QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;

    const Row &row(int row) const { return m_rows.at(row); }
    // The rows of the items with this identifier (a running application may have two).
    QList<int> itemRows(const QString &bundleID) const { return m_itemRows.value(bundleID); }
    const QSet<QString> &runningBundleIDs() const { return m_runningBundleIDs; }

    // The search folds names and queries alike: case does not count, the user's locale decides
    // what case is.
    static QString searchFolded(const QString &text);

    // Builds the rows afresh from the models and applies the difference.
    void recompose();

signals:
    // Around every recomposition, so that views can hold on to what the user looks at.
    void aboutToRecompose();
    void recomposed();
    void runningBundleIDsChanged();

private:
    QList<Row> composeRows(const QList<RunningApplicationPtr> &visibleRunningApps,
                           const QSet<QString> &runningBundleIDs) const;
    void apply(QList<Row> next);
    void reorder(const QList<Row> &next, const QList<qsizetype> &targets);
    void replaceRowContent(qsizetype row, Row &&next);
    void indexItemRows();
    void itemStateChanged(const QSet<QString> &before, const QSet<QString> &after, int role);

    AppsListActions &m_actions;
    AppsListSections m_sections;
    QList<Row> m_rows;
    QHash<QString, QList<int>> m_itemRows;
    QSet<QString> m_runningBundleIDs;
    // The sets as the rows last showed them, to tell which rows a change concerns.
    QSet<QString> m_shownSelectedIDs;
    QSet<QString> m_shownBusyIDs;
};
