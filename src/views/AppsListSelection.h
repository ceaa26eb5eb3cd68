#pragma once

#include "ListItem.h"

#include <QObject>

class AppsListActions;
class AppsListFilter;
class AppsListModel;

// The list's checkboxes and what they lead to: how many ticked items show in each section, the
// selection bar's texts, and carrying out the actions of one row or of every ticked row. The
// ticked identifiers themselves live in AppsListActions, with the busy marks.
class AppsListSelection final : public QObject {
    Q_OBJECT
public:
    AppsListSelection(AppsListActions &actions, AppsListModel &model, AppsListFilter &filter,
                      QObject *parent = nullptr);

    // Ticked identifiers that show in the "Running" and in the "Not Running" section; those the
    // search hides do not count.
    int quitCount() const;
    int openCount() const;

    // The selection bar's texts, built from numbers and shown as built.
    static QString selectionSummary(int openCount, int quitCount);
    static QString actionButtonTitle(int openCount, int quitCount);

    void toggleSelection(const QString &id, bool isOn);
    // Takes the item by value: the action may change the rows it came from.
    void performPrimaryAction(ListItem item);
    // Opens the ticked installed items, then quits the ticked running ones, each in list order,
    // and clears the whole selection, hidden items included.
    void performSelectedActions(const QList<ListItem> &installed, const QList<ListItem> &running);
    // Unticks what no longer shows in either section: run when the running applications changed.
    void pruneSelection();

private:
    int shownCount(ListItem::Kind kind) const;

    AppsListActions &m_actions;
    AppsListFilter &m_filter;
};
