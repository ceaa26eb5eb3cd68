#pragma once

#include "ListItem.h"

#include <QFont>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

class AppListIcon;

// Draws the rows of the application list: an item's checkbox, icon, name and its pill-shaped
// Quit or Open button (a spinner while an action on it is under way), the section headers and the
// empty-list text. Clicks on the checkbox and on the button come out as requests; the row itself
// changes nothing.
class AppActionRow final : public QStyledItemDelegate {
    Q_OBJECT
public:
    enum class ActionKind { quit, open };
    enum class Part { none, checkbox, actionButton };

    // Where the parts of an item row lie; action is the button or the spinner's frame.
    struct Geometry {
        QRect checkbox;
        QRect icon;
        QRect name;
        QRect action;
    };

    explicit AppActionRow(AppListIcon &icons, QObject *parent = nullptr);

    static ActionKind actionKind(ListItem::Kind kind);
    // The button's word and its tooltip.
    static QString actionTitle(ActionKind kind);
    static QString actionToolTip(ActionKind kind, const QString &name);

    Geometry geometry(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    // The same, laid out as the view shows the row, in its viewport's coordinates.
    Geometry geometry(const QAbstractItemView &view, const QModelIndex &index) const;
    Part partAt(const QStyleOptionViewItem &option, const QModelIndex &index,
                const QPoint &position) const;

    // The spinners turn one step; the view calls this while something is busy.
    void advanceSpinner() { m_spinnerStep = (m_spinnerStep + 1) % spinnerSpokes; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

signals:
    // The checkbox was clicked: the row asks to become ticked (isOn) or unticked.
    void selectionChangeRequested(const QModelIndex &index, bool isOn);
    // The Quit or Open button was clicked.
    void primaryActionRequested(const QModelIndex &index);

private:
    static constexpr int spinnerSpokes = 8;

    // Fonts and sizes follow the view's font; they are worked out once per font.
    struct Metrics {
        QFont base;
        QFont name;
        QFont word;
        QFont symbol;
        QFont header;
        QFont emptyList;
        int symbolSize = 0;
        QSize quitPill;
        QSize openPill;
        int itemHeight = 0;
        int headerHeight = 0;
        int emptyListHeight = 0;
    };

    const Metrics &metrics(const QStyleOptionViewItem &option) const;
    void paintItem(QPainter &painter, const QStyleOptionViewItem &option,
                   const QModelIndex &index) const;
    void paintPill(QPainter &painter, const QRect &rect, ActionKind kind,
                   const QPalette &palette) const;
    void paintSpinner(QPainter &painter, const QRect &frame, const QPalette &palette) const;
    void paintSectionHeader(QPainter &painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const;
    void paintEmptyList(QPainter &painter, const QStyleOptionViewItem &option,
                        const QModelIndex &index) const;

    AppListIcon &m_icons;
    mutable Metrics m_metrics;
    int m_spinnerStep = 0;
    // A click counts where the button went down and came up on the same part of the same row.
    QPersistentModelIndex m_pressedIndex;
    Part m_pressedPart = Part::none;
};
