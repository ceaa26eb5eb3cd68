#pragma once

#include <QPersistentModelIndex>
#include <QTimer>
#include <QWidget>

class AppActionRow;
class AppCatalog;
class AppListIcon;
class ApplicationBundles;
class AppsListActions;
class AppsListFilter;
class AppsListModel;
class AppsListSelection;
class AppUsageStore;
class IconCache;
class QListView;
class SelectionBar;
class WindowMonitor;
struct ListItem;

// The main window's body below its toolbar: the selection bar while anything is ticked, above
// the searchable list of running and installed applications.
//
// Keyboard: Tab reaches the list, the arrow keys move between items, Home and End go to the first
// and last, Space ticks or unticks the current item and Return presses its button.
class AppsListView final : public QWidget {
    Q_OBJECT
public:
    AppsListView(WindowMonitor &monitor, AppCatalog &catalog, AppUsageStore &usage,
                 IconCache &icons, AppsListActions &actions, const ApplicationBundles &bundles,
                 QWidget *parent = nullptr);

    // The window's search field, as typed.
    void setSearchText(const QString &text);

    QListView *listView() const { return m_list; }
    // The list's rows as shown: the model of listView().
    AppsListFilter &rows() const { return *m_filter; }
    AppsListSelection &selection() const { return *m_selection; }
    SelectionBar *selectionBar() const { return m_selectionBar; }
    AppActionRow *rowDelegate() const { return m_rowDelegate; }
    bool isSpinnerTurning() const { return m_spinnerTimer.isActive(); }

public slots:
    // Indexes are rows() indexes; rows other than items are left alone.
    void toggleRow(const QModelIndex &index);
    void pressRowAction(const QModelIndex &index);
    void performSelectedActions();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const ListItem *itemAt(const QModelIndex &index) const;
    void updateSelectionBar();
    void updateSpinner();
    void repaintBusyRows();
    void holdScrollPosition();
    void restoreScrollPosition();
    void moveToEdge(bool toFirst);

    AppsListActions &m_actions;
    AppListIcon *m_icons;
    AppsListModel *m_model;
    AppsListFilter *m_filter;
    AppsListSelection *m_selection;
    SelectionBar *m_selectionBar;
    QListView *m_list;
    AppActionRow *m_rowDelegate;
    QTimer m_spinnerTimer;
    // The row at the top of the viewport while the rows change, and where it was.
    QPersistentModelIndex m_scrollAnchor;
    int m_scrollAnchorTop = 0;
};
