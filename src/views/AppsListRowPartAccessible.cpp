#include "AppsListRowPartAccessible.h"

#include "AppsListModel.h"
#include "AppsListRowAccessible.h"
#include "AppsListView.h"

#include <QKeySequence>

AppsListRowPartAccessible::AppsListRowPartAccessible(AppsListRowAccessible &row,
                                                     AppActionRow::Part part)
    : m_row(row), m_part(part) {}

bool AppsListRowPartAccessible::isValid() const {
    return m_row.isValid();
}

QWindow *AppsListRowPartAccessible::window() const {
    return m_row.window();
}

QAccessibleInterface *AppsListRowPartAccessible::parent() const {
    return &m_row;
}

QString AppsListRowPartAccessible::text(QAccessible::Text t) const {
    if (t != QAccessible::Name || !isValid())
        return {};
    const QString name = m_row.text(QAccessible::Name);
    if (isCheckbox())
        return name;
    const auto kind = ListItem::Kind(m_row.index().data(AppsListModel::ItemKindRole).toInt());
    return AppActionRow::actionToolTip(AppActionRow::actionKind(kind), name);
}

QRect AppsListRowPartAccessible::rect() const {
    return m_row.partRect(m_part);
}

QAccessible::Role AppsListRowPartAccessible::role() const {
    return isCheckbox() ? QAccessible::CheckBox : QAccessible::PushButton;
}

QAccessible::State AppsListRowPartAccessible::state() const {
    const QAccessible::State row = m_row.state();
    QAccessible::State state;
    state.invalid = row.invalid;
    state.invisible = row.invisible;
    state.offscreen = row.offscreen;
    if (isCheckbox()) {
        state.checkable = true;
        state.checked = row.checked;
    } else {
        state.disabled = row.busy;
    }
    return state;
}

void *AppsListRowPartAccessible::interface_cast(QAccessible::InterfaceType type) {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this)
                                                : nullptr;
}

// The one action of each part; none for a button that has a spinner in its place.
QString AppsListRowPartAccessible::action() const {
    if (!isValid())
        return {};
    if (isCheckbox())
        return toggleAction();
    return m_row.isBusy() ? QString() : pressAction();
}

QStringList AppsListRowPartAccessible::actionNames() const {
    const QString name = action();
    return name.isEmpty() ? QStringList() : QStringList{name};
}

void AppsListRowPartAccessible::doAction(const QString &actionName) {
    AppsListView *view = m_row.appsListView();
    if (!view || actionName.isEmpty() || actionName != action())
        return;
    if (isCheckbox())
        view->toggleRow(m_row.index());
    else
        view->pressRowAction(m_row.index());
}

// The keys that do the same on the list's current row.
QStringList AppsListRowPartAccessible::keyBindingsForAction(const QString &actionName) const {
    if (actionName.isEmpty() || actionName != action())
        return {};
    const QKeySequence key(isCheckbox() ? Qt::Key_Space : Qt::Key_Return);
    return {key.toString(QKeySequence::NativeText)};
}
