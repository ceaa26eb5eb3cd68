#include "AppListIcon.h"

#include "models/IconCache.h"

#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace {

constexpr double placeholderRadius = 6;

} // namespace

AppListIcon::AppListIcon(IconCache &cache, QObject *parent) : QObject(parent), m_cache(cache) {}

QImage AppListIcon::image(const QString &rowKey, const std::optional<QString> &path,
                          const RunningApplicationPtr &runningApp) {
    const std::optional<QString> usedPath = path && !path->isEmpty() ? path : std::nullopt;
    const QString loadKey = usedPath.value_or(QString());
    auto state = m_rows.find(rowKey);
    if (state == m_rows.end() || state->path != loadKey) {
        RowState fresh;
        fresh.path = loadKey;
        state = m_rows.insert(rowKey, fresh);
    }
    if (!state->image.isNull())
        return state->image;
    if (state->load == 0) {
        startLoad(rowKey, usedPath, runningApp);
        if (const QImage loaded = m_rows.value(rowKey).image; !loaded.isNull())
            return loaded;
    }
    if (const QImage cached = m_cache.cachedIcon(usedPath); !cached.isNull())
        return cached;
    return runningApp ? runningApp->icon() : QImage();
}

void AppListIcon::forget(const QString &rowKey) {
    m_rows.remove(rowKey);
}

void AppListIcon::startLoad(const QString &rowKey, const std::optional<QString> &path,
                            const RunningApplicationPtr &runningApp) {
    RowState &state = m_rows[rowKey];
    if (const QImage cached = m_cache.cachedIcon(path); !cached.isNull()) {
        state.image = cached;
        return;
    }
    const quint64 load = m_nextLoad++;
    state.load = load;
    // The cache may answer at once; then the row is being drawn and needs no second turn.
    m_isStartingLoad = true;
    m_cache.loadIcon(path, runningApp, this, [this, rowKey, load](const QImage &image) {
        const auto state = m_rows.find(rowKey);
        if (state == m_rows.end() || state->load != load)
            return; // the row has gone, or shows another path by now
        state->image = image;
        if (!m_isStartingLoad)
            emit imageArrived(rowKey);
    });
    m_isStartingLoad = false;
}

void AppListIcon::paint(QPainter &painter, const QRectF &rect, const QImage &image,
                        const QPalette &palette) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (image.isNull()) {
        // The faintest label colour, faded further: a shape that holds the icon's place.
        QColor fill = palette.color(QPalette::WindowText);
        fill.setAlphaF(0.1f * 0.2f);
        QPainterPath placeholder;
        placeholder.addRoundedRect(rect, placeholderRadius, placeholderRadius);
        painter.fillPath(placeholder, fill);
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        QSizeF fitted = image.deviceIndependentSize();
        fitted.scale(rect.size(), Qt::KeepAspectRatio);
        QRectF target(QPointF(), fitted);
        target.moveCenter(rect.center());
        painter.drawImage(target, image);
    }
    painter.restore();
}
