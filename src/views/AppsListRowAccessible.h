#pragma once

#include "AppActionRow.h"

#include <QAccessibleInterface>
#include <QPersistentModelIndex>
#include <QPointer>

class AppsListView;
class QListView;

// One row of the application list for screen readers: a section header is a heading, the
// empty-list text static text, and an application an item named after it, checkable like its
// checkbox, with two children: the checkbox and the Quit or Open button. The row follows its
// model row wherever it moves and is valid until that row goes.
class AppsListRowAccessible final : public QAccessibleInterface {
public:
    AppsListRowAccessible(QListView *list, const QModelIndex &index);

    QModelIndex index() const { return m_index; }
    bool isBusy() const;
    // The view that acts on the row; null once it is gone.
    AppsListView *appsListView() const;
    // Where a part of an item row lies on the screen.
    QRect partRect(AppActionRow::Part part) const;

    // Tells screen readers how the row's name and states changed since they were last told.
    void announceChanges();

    bool isValid() const override;
    QObject *object() const override { return nullptr; }
    QWindow *window() const override;
    QAccessibleInterface *childAt(int x, int y) const override;
    QAccessibleInterface *parent() const override;
    QAccessibleInterface *child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface *child) const override;
    QString text(QAccessible::Text t) const override;
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;

private:
    // Qt's registry deletes rows, when the list drops them.
    ~AppsListRowAccessible() override;

    bool isItem() const;
    bool isChecked() const;
    QAccessibleInterface *part(AppActionRow::Part part) const;

    QPointer<QListView> m_list;
    QPersistentModelIndex m_index;
    // The checkbox and the button, items only.
    QAccessible::Id m_checkboxId = 0;
    QAccessible::Id m_buttonId = 0;
    // What screen readers were last told.
    QString m_announcedName;
    bool m_announcedChecked = false;
    bool m_announcedBusy = false;
};
