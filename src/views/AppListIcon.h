#pragma once

#include "platform/RunningApplication.h"

#include <optional>
#include <QHash>
#include <QImage>
#include <QObject>

class IconCache;
class QPainter;
class QPalette;
class QRectF;

// The rows' 28-point icons. Each row keeps the icon fetched for it for as long as the row stays
// in the list; until one is there it shows the cached icon, the running application's own icon
// or a placeholder, and never waits for a fetch.
class AppListIcon final : public QObject {
    Q_OBJECT
public:
    static constexpr int size = 28;

    explicit AppListIcon(IconCache &cache, QObject *parent = nullptr);

    // The image to draw for a row now, null for the placeholder. Starts the row's fetch the first
    // time it is asked for a path, and again when the path changes.
    QImage image(const QString &rowKey, const std::optional<QString> &path,
                 const RunningApplicationPtr &runningApp);
    // The row has left the list: its image goes, and a fetch still under way is dropped.
    void forget(const QString &rowKey);

    // Draws the image scaled to fit, its proportions kept, or the placeholder for a null image.
    static void paint(QPainter &painter, const QRectF &rect, const QImage &image,
                      const QPalette &palette);

signals:
    // A fetch for the row has ended after the row was drawn: it can show the icon now.
    void imageArrived(const QString &rowKey);

private:
    struct RowState {
        QString path;     // what the fetch is for; the empty text when there is no path
        QImage image;     // fetched for this row
        quint64 load = 0; // the fetch under way or done, 0 before the first
    };

    void startLoad(const QString &rowKey, const std::optional<QString> &path,
                   const RunningApplicationPtr &runningApp);

    IconCache &m_cache;
    QHash<QString, RowState> m_rows;
    quint64 m_nextLoad = 1;
    bool m_isStartingLoad = false;
};
