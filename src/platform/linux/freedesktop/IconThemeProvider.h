#pragma once

#include "IconTheme.h"
#include "platform/IconProvider.h"

#include <mutex>
#include <QList>

// Application icons from the desktop's icon theme: a desktop entry's Icon looked up as the
// Icon Theme Specification says, rendered to the size asked for. Safe to call from several
// threads at once; the themes are read on first use.
class IconThemeProvider final : public IconProvider {
public:
    explicit IconThemeProvider(QString themeName, QStringList searchFolders = iconFolders());

    // The icon theme the desktop is set to, or "hicolor" where the desktop does not say.
    static QString desktopThemeName();
    // Where themes and loose icons lie, in the order in which they are searched.
    static QStringList iconFolders();

    QImage iconForFile(const QString &path, int size) const override;
    // "app.fill" is the theme's generic application icon; there are no other symbols.
    QImage symbolImage(const QString &name, int size) const override;

private:
    const QList<IconTheme> &themes() const;
    QString findIcon(const QString &iconName, int size) const;
    QImage namedIcon(const QString &iconName, int size) const;
    QImage genericIcon(int size) const;

    QString m_themeName;
    QStringList m_searchFolders;
    mutable std::once_flag m_themesRead;
    mutable QList<IconTheme> m_themes;
};
