#include "AppsListRowAccessible.h"

#include "AppsListAccessible.h"
#include "AppsListModel.h"
#include "AppsListRowPartAccessible.h"
#include "AppsListView.h"

#include <QListView>

namespace {

using Part = AppActionRow::Part;
using RowKind = AppsListModel::RowKind;

void announceStates(QAccessibleInterface *iface, QAccessible::State changed) {
    if (!iface)
        return;
    QAccessibleStateChangeEvent event(iface, changed);
    QAccessible::updateAccessibility(&event);
}

} // namespace

AppsListRowAccessible::AppsListRowAccessible(QListView *list, const QModelIndex &index)
    : m_list(list), m_index(index) {
    if (isItem()) {
        m_checkboxId = QAccessible::registerAccessibleInterface(
            new AppsListRowPartAccessible(*this, Part::checkbox));
        m_buttonId = QAccessible::registerAccessibleInterface(
            new AppsListRowPartAccessible(*this, Part::actionButton));
    }
    m_announcedName = text(QAccessible::Name);
    m_announcedChecked = isChecked();
    m_announcedBusy = isBusy();
}

AppsListRowAccessible::~AppsListRowAccessible() {
    for (const QAccessible::Id id : {m_checkboxId, m_buttonId})
        if (id != 0)
            QAccessible::deleteAccessibleInterface(id);
}

bool AppsListRowAccessible::isValid() const {
    return m_list && m_index.isValid() && m_index.model() == m_list->model();
}

bool AppsListRowAccessible::isItem() const {
    return isValid() && RowKind(m_index.data(AppsListModel::RowKindRole).toInt()) == RowKind::item;
}

bool AppsListRowAccessible::isChecked() const {
    return isItem() && m_index.data(AppsListModel::IsSelectedRole).toBool();
}

bool AppsListRowAccessible::isBusy() const {
    return isItem() && m_index.data(AppsListModel::IsBusyRole).toBool();
}

AppsListView *AppsListRowAccessible::appsListView() const {
    return m_list ? AppsListAccessible::appsListViewOf(m_list) : nullptr;
}

QAccessibleInterface *AppsListRowAccessible::part(Part part) const {
    const QAccessible::Id id = part == Part::checkbox ? m_checkboxId : m_buttonId;
    return id != 0 ? QAccessible::accessibleInterface(id) : nullptr;
}

QRect AppsListRowAccessible::partRect(Part part) const {
    const AppsListView *view = appsListView();
    if (!view || !isItem())
        return {};
    const AppActionRow::Geometry g = view->rowDelegate()->geometry(*m_list, m_index);
    const QRect rect = part == Part::checkbox ? g.checkbox : g.action;
    return {m_list->viewport()->mapToGlobal(rect.topLeft()), rect.size()};
}

void AppsListRowAccessible::announceChanges() {
    if (!isValid())
        return;
    if (const QString name = text(QAccessible::Name); name != m_announcedName) {
        m_announcedName = name;
        for (QAccessibleInterface *named : {static_cast<QAccessibleInterface *>(this),
                                            part(Part::checkbox), part(Part::actionButton)})
            AppsListAccessible::announce(named, QAccessible::NameChanged);
    }
    if (const bool checked = isChecked(); checked != m_announcedChecked) {
        m_announcedChecked = checked;
        QAccessible::State changed;
        changed.checked = true;
        announceStates(this, changed);
        announceStates(part(Part::checkbox), changed);
    }
    if (const bool busy = isBusy(); busy != m_announcedBusy) {
        m_announcedBusy = busy;
        QAccessible::State rowChange;
        rowChange.busy = true;
        announceStates(this, rowChange);
        QAccessible::State buttonChange;
        buttonChange.disabled = true;
        announceStates(part(Part::actionButton), buttonChange);
    }
}

QWindow *AppsListRowAccessible::window() const {
    return m_list ? m_list->window()->windowHandle() : nullptr;
}

QAccessibleInterface *AppsListRowAccessible::childAt(int x, int y) const {
    for (const Part each : {Part::checkbox, Part::actionButton})
        if (QAccessibleInterface *control = part(each); control && control->rect().contains(x, y))
            return control;
    return nullptr;
}

QAccessibleInterface *AppsListRowAccessible::parent() const {
    return m_list ? QAccessible::queryAccessibleInterface(m_list) : nullptr;
}

QAccessibleInterface *AppsListRowAccessible::child(int index) const {
    switch (index) {
    case 0:
        return part(Part::checkbox);
    case 1:
        return part(Part::actionButton);
    default:
        return nullptr;
    }
}

int AppsListRowAccessible::childCount() const {
    return m_checkboxId != 0 ? 2 : 0;
}

int AppsListRowAccessible::indexOfChild(const QAccessibleInterface *child) const {
    if (!child)
        return -1;
    if (child == part(Part::checkbox))
        return 0;
    if (child == part(Part::actionButton))
        return 1;
    return -1;
}

QString AppsListRowAccessible::text(QAccessible::Text t) const {
    if (t != QAccessible::Name || !isValid())
        return {};
    return m_index.data(Qt::AccessibleTextRole).toString();
}

QRect AppsListRowAccessible::rect() const {
    if (!isValid())
        return {};
    const QRect visual = m_list->visualRect(m_index);
    return {m_list->viewport()->mapToGlobal(visual.topLeft()), visual.size()};
}

QAccessible::Role AppsListRowAccessible::role() const {
    if (!isValid())
        return QAccessible::NoRole;
    switch (RowKind(m_index.data(AppsListModel::RowKindRole).toInt())) {
    case RowKind::sectionHeader:
        return QAccessible::Heading;
    case RowKind::emptyList:
        return QAccessible::StaticText;
    case RowKind::item:
        break;
    }
    return QAccessible::ListItem;
}

QAccessible::State AppsListRowAccessible::state() const {
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    state.invisible = !m_list->isVisible();
    state.offscreen = !m_list->viewport()->rect().intersects(m_list->visualRect(m_index));
    if (isItem()) {
        state.focusable = true;
        state.focused = m_list->hasFocus() && m_list->currentIndex() == m_index;
        state.checkable = true;
        state.checked = isChecked();
        state.busy = isBusy();
    }
    return state;
}
