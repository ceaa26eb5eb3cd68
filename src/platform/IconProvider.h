#pragma once

#include <QImage>
#include <QString>

// The platform's icons for application bundles.
class IconProvider {
public:
    virtual ~IconProvider() = default;

    // The icon of the file or bundle at a path, at the given edge length. Never null: a generic
    // application icon stands in where the path has no icon of its own. Callable off the GUI
    // thread, and slow: never call it there.
    virtual QImage iconForFile(const QString &path, int size) const = 0;
    // A named symbol of the platform ("app.fill"), or a null image when there is none.
    virtual QImage symbolImage(const QString &name, int size) const = 0;
};
