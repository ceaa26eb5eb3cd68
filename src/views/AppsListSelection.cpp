#include "AppsListSelection.h"

#include "AppsListActions.h"
#include "AppsListFilter.h"
#include "AppsListModel.h"

namespace {

QString apps(int count) {
    return AppsListSelection::tr("%n App(s)", nullptr, count);
}

} // namespace

AppsListSelection::AppsListSelection(AppsListActions &actions, AppsListModel &model,
                                     AppsListFilter &filter, QObject *parent)
    : QObject(parent), m_actions(actions), m_filter(filter) {
    // The filter has caught up with the new rows by the time this runs: it follows the model's
    // recomposition, which comes first.
    connect(&model, &AppsListModel::runningBundleIDsChanged, this,
            &AppsListSelection::pruneSelection);
}

int AppsListSelection::quitCount() const {
    return shownCount(ListItem::Kind::quit);
}

int AppsListSelection::openCount() const {
    return shownCount(ListItem::Kind::open);
}

int AppsListSelection::shownCount(ListItem::Kind kind) const {
    const QSet<QString> &selected = m_actions.selectedIDs();
    return int(std::count_if(selected.cbegin(), selected.cend(),
                             [&](const QString &id) { return m_filter.isShown(id, kind); }));
}

QString AppsListSelection::selectionSummary(int openCount, int quitCount) {
    if (openCount < 1)
        return tr("%n selected to quit", nullptr, quitCount);
    if (quitCount >= 1)
        return tr("%n selected", nullptr, openCount + quitCount);
    return tr("%n selected to open", nullptr, openCount);
}

QString AppsListSelection::actionButtonTitle(int openCount, int quitCount) {
    if (openCount != 0 && quitCount != 0)
        return tr("Open %1 & Quit %2").arg(apps(openCount), apps(quitCount));
    if (openCount != 0)
        return tr("Open %1").arg(apps(openCount));
    if (quitCount != 0)
        return tr("Quit %1").arg(apps(quitCount));
    return tr("Apply");
}

void AppsListSelection::toggleSelection(const QString &id, bool isOn) {
    if (isOn)
        m_actions.insertSelectedID(id);
    else
        m_actions.removeSelectedID(id);
}

void AppsListSelection::performPrimaryAction(ListItem item) {
    if (item.kind == ListItem::Kind::open)
        m_actions.openApp(item.id, item.openURL);
    else
        m_actions.quitApp(item.id, item.runningApp);
    m_actions.removeSelectedID(item.id);
}

void AppsListSelection::performSelectedActions(const QList<ListItem> &installed,
                                               const QList<ListItem> &running) {
    // Two processes of one application are two rows but one request: it asks every instance.
    QSet<QString> pending = m_actions.selectedIDs();
    QList<ListItem> toOpen;
    QList<ListItem> toQuit;
    for (const ListItem &item : installed)
        if (pending.remove(item.id))
            toOpen.append(item);
    for (const ListItem &item : running)
        if (pending.remove(item.id))
            toQuit.append(item);
    for (const ListItem &item : std::as_const(toOpen))
        m_actions.openApp(item.id, item.openURL);
    for (const ListItem &item : std::as_const(toQuit))
        m_actions.quitApp(item.id, item.runningApp);
    m_actions.setSelectedIDs({});
}

void AppsListSelection::pruneSelection() {
    QSet<QString> kept;
    for (const QString &id : m_actions.selectedIDs())
        if (m_filter.isShown(id, ListItem::Kind::quit) ||
            m_filter.isShown(id, ListItem::Kind::open))
            kept.insert(id);
    m_actions.setSelectedIDs(kept);
}
