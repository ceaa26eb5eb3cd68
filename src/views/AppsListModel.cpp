#include "AppsListModel.h"

#include "AppsListActions.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/WindowMonitor.h"

#include <algorithm>
#include <QLocale>

namespace {

using Row = AppsListModel::Row;
using RowKind = AppsListModel::RowKind;
using Section = AppsListModel::Section;

Row sectionHeader(Section section) {
    Row row;
    row.kind = RowKind::sectionHeader;
    row.section = section;
    row.key = section == Section::running ? QStringLiteral("header:running")
                                          : QStringLiteral("header:notRunning");
    return row;
}

Row emptyList() {
    Row row;
    row.kind = RowKind::emptyList;
    row.key = QStringLiteral("empty");
    return row;
}

// A running application is keyed by its process as well: two processes of one application are
// two rows.
QString itemKey(const ListItem &item) {
    if (item.kind == ListItem::Kind::open)
        return QStringLiteral("open:") + item.id;
    return QStringLiteral("quit:%1/%2").arg(item.id).arg(item.runningApp->processIdentifier());
}

// Which elements of a sequence to leave in place so that as few as possible move: a longest
// increasing subsequence of their target positions.
QList<bool> longestIncreasing(const QList<qsizetype> &targets) {
    QList<qsizetype> tails; // index of the smallest tail of each length
    QList<qsizetype> previous(targets.size(), -1);
    for (qsizetype i = 0; i < targets.size(); ++i) {
        const auto at = std::lower_bound(
            tails.begin(), tails.end(), targets.at(i),
            [&](qsizetype tail, qsizetype target) { return targets.at(tail) < target; });
        if (at != tails.begin())
            previous[i] = *(at - 1);
        if (at == tails.end())
            tails.append(i);
        else
            *at = i;
    }
    QList<bool> kept(targets.size(), false);
    for (qsizetype i = tails.isEmpty() ? -1 : tails.last(); i >= 0; i = previous.at(i))
        kept[i] = true;
    return kept;
}

Row itemRow(Section section, const ListItem &item) {
    Row row;
    row.section = section;
    row.key = itemKey(item);
    row.item = item;
    return row;
}

} // namespace

AppsListModel::AppsListModel(WindowMonitor &monitor, AppCatalog &catalog, AppUsageStore &usage,
                             AppsListActions &actions, const ApplicationBundles &bundles,
                             QObject *parent)
    : QAbstractListModel(parent), m_actions(actions), m_sections(monitor, catalog, usage, bundles),
      m_shownSelectedIDs(actions.selectedIDs()), m_shownBusyIDs(actions.busyIDs()) {
    const QList<RunningApplicationPtr> visible = m_sections.visibleRunningApps();
    m_runningBundleIDs = AppsListSections::runningBundleIDs(visible);
    m_rows = composeRows(visible, m_runningBundleIDs);
    for (Row &row : m_rows)
        row.searchName = searchFolded(row.item.name);
    indexItemRows();

    connect(&monitor, &WindowMonitor::runningAppsChanged, this, &AppsListModel::recompose);
    const auto rerank = [this] {
        m_sections.invalidateRanking();
        recompose();
    };
    connect(&catalog, &AppCatalog::appsChanged, this, rerank);
    connect(&usage, &AppUsageStore::scoresChanged, this, rerank);
    connect(&actions, &AppsListActions::selectedIDsChanged, this, [this] {
        const QSet<QString> before = std::exchange(m_shownSelectedIDs, m_actions.selectedIDs());
        itemStateChanged(before, m_shownSelectedIDs, IsSelectedRole);
    });
    connect(&actions, &AppsListActions::busyIDsChanged, this, [this] {
        const QSet<QString> before = std::exchange(m_shownBusyIDs, m_actions.busyIDs());
        itemStateChanged(before, m_shownBusyIDs, IsBusyRole);
    });
}

int AppsListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant AppsListModel::data(const QModelIndex &index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case RowKindRole:
        return int(row.kind);
    case SectionRole:
        return int(row.section);
    case RowKeyRole:
        return row.key;
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        if (row.kind == RowKind::sectionHeader)
            return row.section == Section::running ? tr("Running") : tr("Not Running");
        if (row.kind == RowKind::item)
            return row.item.name;
        return {};
    default:
        break;
    }
    if (row.kind != RowKind::item)
        return {};
    switch (role) {
    case ItemKindRole:
        return int(row.item.kind);
    case BundleIDRole:
        return row.item.id;
    case IconPathRole:
        return row.item.iconPath ? QVariant(*row.item.iconPath) : QVariant();
    case IsSelectedRole:
        return m_actions.selectedIDs().contains(row.item.id);
    case Qt::CheckStateRole:
        return m_actions.selectedIDs().contains(row.item.id) ? Qt::Checked : Qt::Unchecked;
    case IsBusyRole:
        return m_actions.busyIDs().contains(row.item.id);
    case ItemRole:
        return QVariant::fromValue(row.item);
    default:
        return {};
    }
}

// Headers and the empty-list text are not enabled, so that keyboard moves pass over them.
Qt::ItemFlags AppsListModel::flags(const QModelIndex &index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    if (m_rows.at(index.row()).kind != RowKind::item)
        return Qt::ItemNeverHasChildren;
    return Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> AppsListModel::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert({{RowKindRole, "rowKind"},
                  {SectionRole, "section"},
                  {ItemKindRole, "itemKind"},
                  {BundleIDRole, "bundleID"},
                  {IconPathRole, "iconPath"},
                  {IsSelectedRole, "isSelected"},
                  {IsBusyRole, "isBusy"},
                  {RowKeyRole, "rowKey"},
                  {ItemRole, "item"}});
    return names;
}

QString AppsListModel::searchFolded(const QString &text) {
    static const QLocale locale;
    return locale.toLower(text);
}

void AppsListModel::recompose() {
    emit aboutToRecompose();
    const QList<RunningApplicationPtr> visible = m_sections.visibleRunningApps();
    QSet<QString> running = AppsListSections::runningBundleIDs(visible);
    apply(composeRows(visible, running));
    indexItemRows();
    const bool isRunningChanged = running != m_runningBundleIDs;
    m_runningBundleIDs = std::move(running);
    emit recomposed();
    if (isRunningChanged)
        emit runningBundleIDsChanged();
}

QList<Row> AppsListModel::composeRows(const QList<RunningApplicationPtr> &visibleRunningApps,
                                      const QSet<QString> &runningBundleIDs) const {
    const QList<ListItem> running = m_sections.runningItems(visibleRunningApps);
    const QList<ListItem> installed = m_sections.installedItems(runningBundleIDs);
    QList<Row> rows;
    rows.reserve(running.size() + installed.size() + 3);
    rows.append(sectionHeader(Section::running));
    for (const ListItem &item : running)
        rows.append(itemRow(Section::running, item));
    rows.append(sectionHeader(Section::notRunning));
    for (const ListItem &item : installed)
        rows.append(itemRow(Section::notRunning, item));
    rows.append(emptyList());
    return rows;
}

// Removals first, then the fewest moves that put the remaining rows in order, then insertions
// and changed contents. Rows that stay keep their place in a view and everything tied to it.
void AppsListModel::apply(QList<Row> next) {
    QHash<QString, qsizetype> nextPosition;
    nextPosition.reserve(next.size());
    for (qsizetype i = 0; i < next.size(); ++i)
        nextPosition.insert(next.at(i).key, i);

    for (qsizetype last = m_rows.size() - 1; last >= 0;) {
        if (nextPosition.contains(m_rows.at(last).key)) {
            --last;
            continue;
        }
        qsizetype first = last;
        while (first > 0 && !nextPosition.contains(m_rows.at(first - 1).key))
            --first;
        beginRemoveRows({}, int(first), int(last));
        m_rows.remove(first, last - first + 1);
        endRemoveRows();
        last = first - 1;
    }

    QList<qsizetype> targets;
    targets.reserve(m_rows.size());
    for (const Row &row : std::as_const(m_rows))
        targets.append(nextPosition.value(row.key));
    if (!std::is_sorted(targets.cbegin(), targets.cend()))
        reorder(next, targets);

    for (qsizetype i = 0; i < next.size(); ++i) {
        if (i < m_rows.size() && m_rows.at(i).key == next.at(i).key) {
            replaceRowContent(i, std::move(next[i]));
            continue;
        }
        // Every row that stays is in order by now: the rows up to the next of them are new.
        const qsizetype end =
            i < m_rows.size() ? nextPosition.value(m_rows.at(i).key) : next.size();
        beginInsertRows({}, int(i), int(end - 1));
        m_rows.insert(i, end - i, Row());
        for (qsizetype k = i; k < end; ++k) {
            next[k].searchName = searchFolded(next.at(k).item.name);
            m_rows[k] = std::move(next[k]);
        }
        endInsertRows();
        i = end - 1;
    }
}

// Leaves a longest run of rows that are already in order where they are and moves each other row
// right behind the row that precedes it in the new order.
void AppsListModel::reorder(const QList<Row> &next, const QList<qsizetype> &targets) {
    const QList<bool> kept = longestIncreasing(targets);
    QSet<qsizetype> keptTargets;
    for (qsizetype i = 0; i < targets.size(); ++i)
        if (kept.at(i))
            keptTargets.insert(targets.at(i));
    QList<qsizetype> inNewOrder = targets;
    std::sort(inNewOrder.begin(), inNewOrder.end());

    const auto positionOf = [this](const QString &key) {
        const auto found = std::find_if(m_rows.cbegin(), m_rows.cend(),
                                        [&key](const Row &row) { return row.key == key; });
        return qsizetype(found - m_rows.cbegin());
    };
    qsizetype previous = -1;
    for (const qsizetype target : std::as_const(inNewOrder)) {
        if (!keptTargets.contains(target)) {
            const qsizetype from = positionOf(next.at(target).key);
            const qsizetype to = previous < 0 ? 0 : positionOf(next.at(previous).key) + 1;
            if (to != from && to != from + 1) {
                beginMoveRows({}, int(from), int(from), {}, int(to));
                m_rows.move(from, from < to ? to - 1 : to);
                endMoveRows();
            }
        }
        previous = target;
    }
}

void AppsListModel::replaceRowContent(qsizetype row, Row &&next) {
    Row &current = m_rows[row];
    if (current.item == next.item)
        return;
    if (current.item.name != next.item.name)
        current.searchName = searchFolded(next.item.name);
    current.item = std::move(next.item);
    emit dataChanged(index(int(row)), index(int(row)));
}

void AppsListModel::indexItemRows() {
    m_itemRows.clear();
    m_itemRows.reserve(m_rows.size());
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        if (m_rows.at(i).kind == RowKind::item)
            m_itemRows[m_rows.at(i).item.id].append(int(i));
}

// Tells the rows of the identifiers that joined or left a set that they look different now.
void AppsListModel::itemStateChanged(const QSet<QString> &before, const QSet<QString> &after,
                                     int role) {
    const QList<int> roles =
        role == IsSelectedRole ? QList<int>{IsSelectedRole, Qt::CheckStateRole} : QList{role};
    for (const QSet<QString> &changed : {before - after, after - before})
        for (const QString &id : changed)
            for (const int row : itemRows(id))
                emit dataChanged(index(row), index(row), roles);
}
