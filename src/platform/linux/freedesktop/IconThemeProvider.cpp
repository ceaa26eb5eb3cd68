#include "IconThemeProvider.h"

#include "RegularFile.h"

// GIO has a field named "signals", which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <QDir>
#include <QPainter>
#include <QSet>
#include <QStandardPaths>
#include <QSvgRenderer>

namespace {

const QString hicolor = QStringLiteral("hicolor");
const QString genericIconName = QStringLiteral("application-x-executable");
const QString fallbackSymbol = QStringLiteral("app.fill");
// Desktop entries are small; anything larger is not one worth reading.
constexpr qint64 maxEntrySize = 1 << 20;

QString iconNameOf(const QString &desktopEntry) {
    g_autoptr(GKeyFile) file = g_key_file_new();
    if (!RegularFile::loadKeyFile(file, desktopEntry, maxEntrySize))
        return {};
    g_autofree gchar *icon =
        g_key_file_get_string(file, G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_ICON, nullptr);
    return icon ? QString::fromUtf8(icon).trimmed() : QString();
}

// Older entries name their theme icon with a file extension; GIO drops it too.
QString withoutImageExtension(const QString &iconName) {
    for (const char *extension : {".png", ".svg", ".xpm"})
        if (iconName.endsWith(QLatin1String(extension)))
            return iconName.chopped(4);
    return iconName;
}

QImage transparentCanvas(int size) {
    QImage canvas(size, size, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    return canvas;
}

QImage renderSvg(const QByteArray &data, int size) {
    QSvgRenderer renderer(data);
    if (!renderer.isValid())
        return {};
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QImage canvas = transparentCanvas(size);
    QPainter painter(&canvas);
    renderer.render(&painter, QRectF(0, 0, size, size));
    return canvas;
}

QImage renderRaster(const QByteArray &data, int size) {
    const QImage image = QImage::fromData(data);
    if (image.isNull())
        return {};
    const QImage scaled = image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage canvas = transparentCanvas(size);
    QPainter painter(&canvas);
    painter.drawImage((size - scaled.width()) / 2, (size - scaled.height()) / 2, scaled);
    return canvas;
}

// The file is read here, as any file an entry names: the image readers would open anything.
QImage render(const QString &file, int size) {
    const auto data = RegularFile::read(file);
    if (!data)
        return {};
    const bool isSvg = file.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive) ||
                       file.endsWith(QLatin1String(".svgz"), Qt::CaseInsensitive);
    return isSvg ? renderSvg(*data, size) : renderRaster(*data, size);
}

// What stands in when the theme has not even a generic application icon.
QImage placeholder(int size) {
    QImage canvas = transparentCanvas(size);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(128, 128, 128, 160));
    const qreal inset = size / 8.0;
    painter.drawRoundedRect(QRectF(inset, inset, size - 2 * inset, size - 2 * inset), size / 6.0,
                            size / 6.0);
    return canvas;
}

void appendWithAncestors(const QString &name, const QStringList &searchFolders, QSet<QString> &seen,
                         QList<IconTheme> &themes) {
    if (seen.contains(name))
        return;
    seen.insert(name);
    const auto theme = IconTheme::load(name, searchFolders);
    if (!theme)
        return;
    themes.append(*theme);
    for (const QString &parent : theme->parents())
        appendWithAncestors(parent, searchFolders, seen, themes);
}

} // namespace

IconThemeProvider::IconThemeProvider(QString themeName, QStringList searchFolders)
    : m_themeName(std::move(themeName)), m_searchFolders(std::move(searchFolders)) {}

QString IconThemeProvider::desktopThemeName() {
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    if (!source)
        return hicolor;
    g_autoptr(GSettingsSchema) schema =
        g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
    if (!schema || !g_settings_schema_has_key(schema, "icon-theme"))
        return hicolor;
    g_autoptr(GSettings) settings = g_settings_new_full(schema, nullptr, nullptr);
    g_autofree gchar *name = g_settings_get_string(settings, "icon-theme");
    return name && *name ? QString::fromUtf8(name) : hicolor;
}

QStringList IconThemeProvider::iconFolders() {
    const QString icons = QStringLiteral("/icons");
    QStringList dataFolders =
        QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    QStringList folders;
    if (!dataFolders.isEmpty())
        folders.append(dataFolders.takeFirst() + icons);
    // The standard keeps ~/.icons for older themes, searched before the system's.
    folders.append(QDir::homePath() + QStringLiteral("/.icons"));
    for (const QString &folder : std::as_const(dataFolders))
        folders.append(folder + icons);
    folders.append(QStringLiteral("/usr/share/pixmaps"));
    folders.removeDuplicates();
    return folders;
}

QImage IconThemeProvider::iconForFile(const QString &path, int size) const {
    const QImage icon = namedIcon(iconNameOf(path), size);
    return icon.isNull() ? genericIcon(size) : icon;
}

QImage IconThemeProvider::symbolImage(const QString &name, int size) const {
    return name == fallbackSymbol ? genericIcon(size) : QImage();
}

// The theme, the themes it inherits from (depth first), hicolor, then the loose icons.
const QList<IconTheme> &IconThemeProvider::themes() const {
    std::call_once(m_themesRead, [this] {
        QSet<QString> seen;
        appendWithAncestors(m_themeName, m_searchFolders, seen, m_themes);
        appendWithAncestors(hicolor, m_searchFolders, seen, m_themes);
        m_themes.append(IconTheme::looseIcons(m_searchFolders));
    });
    return m_themes;
}

QString IconThemeProvider::findIcon(const QString &iconName, int size) const {
    for (const IconTheme &theme : themes())
        if (QString file = theme.lookupIcon(iconName, size, 1); !file.isEmpty())
            return file;
    return {};
}

QImage IconThemeProvider::namedIcon(const QString &iconName, int size) const {
    if (iconName.isEmpty())
        return {};
    if (QDir::isAbsolutePath(iconName))
        return render(iconName, size);
    const QString file = findIcon(withoutImageExtension(iconName), size);
    return file.isEmpty() ? QImage() : render(file, size);
}

QImage IconThemeProvider::genericIcon(int size) const {
    const QImage icon = namedIcon(genericIconName, size);
    return icon.isNull() ? placeholder(size) : icon;
}
