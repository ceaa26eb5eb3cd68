#pragma once

#include <QWidget>

class QMenu;

// A menu item drawn by a view of ours that never takes a click: the menu handles the mouse.
class PassthroughMenuItemView : public QWidget {
    Q_OBJECT
public:
    explicit PassthroughMenuItemView(QSize size);

    // Adds an item to the menu that shows this view; text is what screen readers read of it.
    void addTo(QMenu &menu, bool isEnabled, const QString &text = {});
};

// An empty 6-pixel gap between two quit items.
class MenuSpacerItemView final : public PassthroughMenuItemView {
    Q_OBJECT
public:
    MenuSpacerItemView();
};

// A bold section title ("Quellory", "Running Apps").
class SectionHeaderMenuItemView final : public PassthroughMenuItemView {
    Q_OBJECT
public:
    explicit SectionHeaderMenuItemView(const QString &title);
};
