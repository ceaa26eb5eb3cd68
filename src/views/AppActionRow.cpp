#include "AppActionRow.h"

#include "AppListIcon.h"
#include "AppsListModel.h"
#include "Contrast.h"

#include <cmath>
#include <numbers>
#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace {

using RowKind = AppsListModel::RowKind;

constexpr int listRowInset = 1; // above and below every item row
constexpr int horizontalInset = 14;
constexpr int verticalInset = 7;
constexpr int spacing = 12;
constexpr QSize spinnerFrame(72, 26);
constexpr double spinnerRadius = 8; // a small spinner is 16 points across
constexpr int pillHorizontalInset = 11;
constexpr int pillVerticalInset = 5;
constexpr int pillSpacing = 5;
constexpr int headerTopInset = 10;
constexpr int headerBottomInset = 4;
constexpr int emptyListMargin = 40;

// A red that reads on light and dark backgrounds alike.
const QColor systemRed(255, 59, 48);

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(float(color.alphaF() * alpha));
    return color;
}

// Secondary text, as placeholders use it, still readable on the list.
QColor secondaryText(const QPalette &palette) {
    return Contrast::atLeast(palette.color(QPalette::PlaceholderText),
                             palette.color(QPalette::Window), Contrast::text);
}

QFont sized(const QFont &base, double points, QFont::Weight weight) {
    QFont font = base;
    font.setPointSizeF(points);
    font.setWeight(weight);
    return font;
}

// A rectangle of the size at x, centred on the band's middle.
QRect centredIn(const QRect &band, int x, const QSize &size) {
    return {QPoint(x, band.top() + (band.height() - size.height()) / 2), size};
}

QStyle *styleOf(const QStyleOptionViewItem &option) {
    return option.widget ? option.widget->style() : QApplication::style();
}

QSize checkboxSize(const QStyleOptionViewItem &option) {
    const QStyle *style = styleOf(option);
    return {style->pixelMetric(QStyle::PM_IndicatorWidth, &option, option.widget),
            style->pixelMetric(QStyle::PM_IndicatorHeight, &option, option.widget)};
}

QPen symbolPen(const QColor &color, double size) {
    QPen pen(color, std::max(1.3, size * 0.13));
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

// A circle open at the top with a stroke down into it.
void paintPowerSymbol(QPainter &painter, const QRectF &rect, const QColor &color) {
    const QPen pen = symbolPen(color, rect.width());
    painter.setPen(pen);
    const double inset = pen.widthF() / 2 + rect.width() * 0.04;
    const QRectF ring = rect.adjusted(inset, inset, -inset, -inset);
    painter.drawArc(ring, 125 * 16, 290 * 16);
    painter.drawLine(QPointF(rect.center().x(), rect.top() + pen.widthF() / 2),
                     QPointF(rect.center().x(), rect.center().y()));
}

// A rounded square with an arrow leaving it towards the upper right.
void paintOpenSymbol(QPainter &painter, const QRectF &rect, const QColor &color) {
    const QPen pen = symbolPen(color, rect.width());
    painter.setPen(pen);
    const double inset = pen.widthF() / 2;
    const QRectF square = rect.adjusted(inset, inset, -inset, -inset);
    const double radius = square.width() * 0.28;
    painter.drawRoundedRect(square, radius, radius);
    const auto at = [&square](double x, double y) {
        return QPointF(square.left() + x * square.width(), square.top() + y * square.height());
    };
    painter.drawLine(at(0.32, 0.68), at(0.68, 0.32));
    painter.drawPolyline(QList<QPointF>{at(0.38, 0.32), at(0.68, 0.32), at(0.68, 0.62)});
}

} // namespace

AppActionRow::AppActionRow(AppListIcon &icons, QObject *parent)
    : QStyledItemDelegate(parent), m_icons(icons) {}

AppActionRow::ActionKind AppActionRow::actionKind(ListItem::Kind kind) {
    return kind == ListItem::Kind::quit ? ActionKind::quit : ActionKind::open;
}

QString AppActionRow::actionTitle(ActionKind kind) {
    return kind == ActionKind::quit ? tr("Quit") : tr("Open");
}

QString AppActionRow::actionToolTip(ActionKind kind, const QString &name) {
    return (kind == ActionKind::quit ? tr("Quit %1") : tr("Open %1")).arg(name);
}

const AppActionRow::Metrics &AppActionRow::metrics(const QStyleOptionViewItem &option) const {
    if (m_metrics.itemHeight > 0 && m_metrics.base == option.font)
        return m_metrics;
    Metrics &m = m_metrics;
    m.base = option.font;
    m.name = sized(option.font, 13, QFont::Normal);
    m.word = sized(option.font, 12, QFont::Medium);
    m.symbol = sized(option.font, 10, QFont::DemiBold);
    m.header = sized(option.font, 11, QFont::DemiBold);
    m.emptyList = sized(option.font, 13, QFont::Normal);

    const QFontMetrics word(m.word);
    // A symbol stands as tall as a capital of its font, with a little room for its round parts.
    m.symbolSize = qRound(QFontMetricsF(m.symbol).capHeight() * 1.2);
    const int pillHeight = 2 * pillVerticalInset + std::max(word.height(), m.symbolSize);
    const auto pillWidth = [&](ActionKind kind) {
        return 2 * pillHorizontalInset + m.symbolSize + pillSpacing +
               word.horizontalAdvance(actionTitle(kind));
    };
    m.quitPill = QSize(pillWidth(ActionKind::quit), pillHeight);
    m.openPill = QSize(pillWidth(ActionKind::open), pillHeight);

    const int content = std::max({AppListIcon::size, pillHeight, spinnerFrame.height(),
                                  checkboxSize(option).height(), QFontMetrics(m.name).height()});
    m.itemHeight = 2 * (listRowInset + verticalInset) + content;
    m.headerHeight = headerTopInset + QFontMetrics(m.header).height() + headerBottomInset;
    m.emptyListHeight = 2 * emptyListMargin + QFontMetrics(m.emptyList).height();
    return m;
}

AppActionRow::Geometry AppActionRow::geometry(const QStyleOptionViewItem &option,
                                              const QModelIndex &index) const {
    const Metrics &m = metrics(option);
    const QRect band = option.rect.adjusted(horizontalInset, listRowInset + verticalInset,
                                            -horizontalInset, -(listRowInset + verticalInset));
    Geometry g;
    g.checkbox = centredIn(band, band.left(), checkboxSize(option));
    g.icon = centredIn(band, g.checkbox.right() + 1 + spacing,
                       QSize(AppListIcon::size, AppListIcon::size));
    const bool isBusy = index.data(AppsListModel::IsBusyRole).toBool();
    const auto kind = ListItem::Kind(index.data(AppsListModel::ItemKindRole).toInt());
    const QSize action = isBusy                                 ? spinnerFrame
                         : actionKind(kind) == ActionKind::quit ? m.quitPill
                                                                : m.openPill;
    g.action = centredIn(band, band.right() + 1 - action.width(), action);
    const int nameLeft = g.icon.right() + 1 + spacing;
    g.name = QRect(nameLeft, band.top(), std::max(0, g.action.left() - spacing - nameLeft),
                   band.height());
    return g;
}

AppActionRow::Geometry AppActionRow::geometry(const QAbstractItemView &view,
                                              const QModelIndex &index) const {
    QStyleOptionViewItem option;
    option.initFrom(&view);
    option.font = view.font();
    option.widget = &view;
    option.rect = view.visualRect(index);
    return geometry(option, index);
}

AppActionRow::Part AppActionRow::partAt(const QStyleOptionViewItem &option,
                                        const QModelIndex &index, const QPoint &position) const {
    if (RowKind(index.data(AppsListModel::RowKindRole).toInt()) != RowKind::item)
        return Part::none;
    const Geometry g = geometry(option, index);
    if (g.checkbox.contains(position))
        return Part::checkbox;
    if (g.action.contains(position) && !index.data(AppsListModel::IsBusyRole).toBool())
        return Part::actionButton;
    return Part::none;
}

QSize AppActionRow::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const {
    const Metrics &m = metrics(option);
    // Wide enough for the fixed parts; the view gives every row its full width.
    const int width = 2 * horizontalInset + checkboxSize(option).width() + AppListIcon::size +
                      3 * spacing + spinnerFrame.width();
    switch (RowKind(index.data(AppsListModel::RowKindRole).toInt())) {
    case RowKind::sectionHeader:
        return {width, m.headerHeight};
    case RowKind::emptyList:
        return {width, m.emptyListHeight};
    case RowKind::item:
        break;
    }
    return {width, m.itemHeight};
}

void AppActionRow::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
    switch (RowKind(index.data(AppsListModel::RowKindRole).toInt())) {
    case RowKind::sectionHeader:
        paintSectionHeader(*painter, option, index);
        break;
    case RowKind::emptyList:
        paintEmptyList(*painter, option, index);
        break;
    case RowKind::item:
        paintItem(*painter, option, index);
        break;
    }
}

void AppActionRow::paintItem(QPainter &painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const {
    const Metrics &m = metrics(option);
    const Geometry g = geometry(option, index);
    const auto item = index.data(AppsListModel::ItemRole).value<ListItem>();
    const bool isSelected = index.data(AppsListModel::IsSelectedRole).toBool();
    const bool isBusy = index.data(AppsListModel::IsBusyRole).toBool();
    painter.save();

    // The current row, while the list has the keyboard.
    if (option.state & QStyle::State_HasFocus) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(withAlpha(option.palette.color(QPalette::Highlight), 0.16));
        painter.drawRoundedRect(QRectF(option.rect.adjusted(4, listRowInset, -4, -listRowInset)), 6,
                                6);
    }

    QStyleOptionButton checkbox;
    checkbox.rect = g.checkbox;
    checkbox.palette = option.palette;
    checkbox.state = QStyle::State_Enabled | (isSelected ? QStyle::State_On : QStyle::State_Off);
    styleOf(option)->drawPrimitive(QStyle::PE_IndicatorCheckBox, &checkbox, &painter,
                                   option.widget);
    // Themes edge the box in a shade close to the background; a dark one all but hides it.
    painter.setPen(Contrast::atLeast(option.palette.color(QPalette::Mid),
                                     option.palette.color(QPalette::Window), Contrast::control));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(g.checkbox.adjusted(0, 0, -1, -1));

    AppListIcon::paint(painter, g.icon,
                       m_icons.image(index.data(AppsListModel::RowKeyRole).toString(),
                                     item.iconPath, item.runningApp),
                       option.palette);

    painter.setFont(m.name);
    painter.setPen(option.palette.color(QPalette::WindowText));
    const QString name = QFontMetrics(m.name).elidedText(item.name, Qt::ElideRight, g.name.width());
    painter.drawText(g.name, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, name);

    if (isBusy)
        paintSpinner(painter, g.action, option.palette);
    else
        paintPill(painter, g.action, actionKind(item.kind), option.palette);
    painter.restore();
}

void AppActionRow::paintPill(QPainter &painter, const QRect &rect, ActionKind kind,
                             const QPalette &palette) const {
    const Metrics &m = m_metrics;
    const QColor accent = palette.color(QPalette::Highlight);
    const QColor tint = kind == ActionKind::quit ? systemRed : accent;
    const QColor fill = withAlpha(tint, kind == ActionKind::quit ? 0.12 : 0.14);
    const QColor foreground = Contrast::atLeast(
        tint, Contrast::over(fill, palette.color(QPalette::Window)), Contrast::text);

    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF capsule(rect);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(capsule, capsule.height() / 2, capsule.height() / 2);

    const QRectF symbol(capsule.left() + pillHorizontalInset,
                        capsule.center().y() - m.symbolSize / 2.0, m.symbolSize, m.symbolSize);
    painter.setBrush(Qt::NoBrush);
    if (kind == ActionKind::quit)
        paintPowerSymbol(painter, symbol, foreground);
    else
        paintOpenSymbol(painter, symbol, foreground);

    painter.setFont(m.word);
    painter.setPen(foreground);
    const QRectF word(symbol.right() + pillSpacing, capsule.top(),
                      capsule.right() - pillHorizontalInset - symbol.right() - pillSpacing,
                      capsule.height());
    painter.drawText(word, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     actionTitle(kind));
}

// Spokes round the frame's centre, the leading one darkest, the ones behind it fading.
void AppActionRow::paintSpinner(QPainter &painter, const QRect &frame,
                                const QPalette &palette) const {
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF centre = QRectF(frame).center();
    const QColor colour = palette.color(QPalette::WindowText);
    for (int spoke = 0; spoke < spinnerSpokes; ++spoke) {
        const int age = (m_spinnerStep - spoke + spinnerSpokes) % spinnerSpokes;
        QPen pen(withAlpha(colour, 0.9 - 0.1 * age), 2);
        pen.setCapStyle(Qt::RoundCap);
        painter.setPen(pen);
        const double angle = 2 * std::numbers::pi * spoke / spinnerSpokes;
        const QPointF direction(std::sin(angle), -std::cos(angle));
        painter.drawLine(centre + direction * spinnerRadius * 0.45,
                         centre + direction * (spinnerRadius - 1));
    }
}

void AppActionRow::paintSectionHeader(QPainter &painter, const QStyleOptionViewItem &option,
                                      const QModelIndex &index) const {
    const Metrics &m = metrics(option);
    painter.save();
    painter.setFont(m.header);
    painter.setPen(secondaryText(option.palette));
    const QRect text =
        option.rect.adjusted(horizontalInset, headerTopInset, -horizontalInset, -headerBottomInset);
    painter.drawText(
        text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetrics(m.header).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    painter.restore();
}

void AppActionRow::paintEmptyList(QPainter &painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const {
    const Metrics &m = metrics(option);
    painter.save();
    painter.setFont(m.emptyList);
    painter.setPen(secondaryText(option.palette));
    const QRect text =
        option.rect.adjusted(horizontalInset, emptyListMargin, -horizontalInset, -emptyListMargin);
    painter.drawText(text, Qt::AlignCenter | Qt::TextSingleLine,
                     QFontMetrics(m.emptyList)
                         .elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    painter.restore();
}

bool AppActionRow::editorEvent(QEvent *event, QAbstractItemModel *,
                               const QStyleOptionViewItem &option, const QModelIndex &index) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        const Part part = mouse->button() == Qt::LeftButton
                              ? partAt(option, index, mouse->position().toPoint())
                              : Part::none;
        m_pressedIndex = index;
        m_pressedPart = part;
        return part != Part::none;
    }
    case QEvent::MouseButtonRelease: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        const Part part = partAt(option, index, mouse->position().toPoint());
        const bool isClick = mouse->button() == Qt::LeftButton && part != Part::none &&
                             part == m_pressedPart && m_pressedIndex == index;
        m_pressedIndex = QPersistentModelIndex();
        m_pressedPart = Part::none;
        if (!isClick)
            return false;
        if (part == Part::checkbox)
            emit selectionChangeRequested(index,
                                          !index.data(AppsListModel::IsSelectedRole).toBool());
        else
            emit primaryActionRequested(index);
        return true;
    }
    default:
        return false;
    }
}

bool AppActionRow::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                             const QStyleOptionViewItem &option, const QModelIndex &index) {
    if (event->type() == QEvent::ToolTip &&
        partAt(option, index, event->pos()) == Part::actionButton) {
        const auto kind =
            actionKind(ListItem::Kind(index.data(AppsListModel::ItemKindRole).toInt()));
        QToolTip::showText(event->globalPos(), actionToolTip(kind, index.data().toString()),
                           view->viewport(), geometry(option, index).action);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}
