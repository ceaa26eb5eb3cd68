#pragma once

#include <QAccessibleWidget>
#include <QHash>
#include <QObject>

class AppsListRowAccessible;
class AppsListView;
class QAbstractItemModel;
class QListView;

// The application list as screen readers see it: a list whose children are its rows as shown,
// section headers as headings, the empty-list text as static text and each application as an item
// with its checkbox and its Quit or Open button. Qt's own item view interface would offer one
// action that changes the view's selection, which this list does not use, and could not reach the
// painted buttons.
//
// Row interfaces live in Qt's accessibility registry for as long as their row shows and are
// dropped when it goes, so that an id a client still holds finds nothing rather than a dead row.
// Rows that come and go, move, change their name or their checked or busy state are announced.
class AppsListAccessible final : public QAccessibleWidget {
public:
    explicit AppsListAccessible(QListView *list);

    // Has Qt ask this class for the list of every AppsListView; the first call counts.
    static void install();
    // The AppsListView whose list this is, or null for any other list.
    static AppsListView *appsListViewOf(const QListView *list);
    // Tells screen readers that the interface came, went or was renamed; nothing for null.
    static void announce(QAccessibleInterface *iface, QAccessible::Event type);

    QListView *listView() const;

    int childCount() const override;
    QAccessibleInterface *child(int index) const override;
    int indexOfChild(const QAccessibleInterface *child) const override;
    QAccessibleInterface *childAt(int x, int y) const override;
    QAccessibleInterface *focusChild() const override;

private:
    ~AppsListAccessible() override;

    const QAbstractItemModel *rows() const;
    AppsListRowAccessible *cachedRow(const QString &key) const;
    void announceRemoval(int first, int last) const;
    void announceInsertion(int first, int last) const;
    void announceChanges(int first, int last) const;
    void announceAllRemoved() const;
    void announceReorder();
    void dropRowsThatWent();

    // Row interfaces by the key of their row, as registered with Qt.
    mutable QHash<QString, QAccessible::Id> m_rowIds;
    // Receives the rows' signals; the connections end with this interface.
    QObject m_rowsObserver;
};
