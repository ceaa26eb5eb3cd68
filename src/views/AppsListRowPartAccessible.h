#pragma once

#include "AppActionRow.h"

#include <QAccessibleInterface>

class AppsListRowAccessible;

// The checkbox or the Quit or Open button of an item row, for screen readers. The checkbox is
// named after the application and its action ticks the row as a click on it does; the button is
// named like its tooltip and its action runs the row's action. While the row is busy the button
// stays in place but is disabled and offers no action, as a spinner stands where it was.
class AppsListRowPartAccessible final : public QAccessibleInterface,
                                        public QAccessibleActionInterface {
public:
    AppsListRowPartAccessible(AppsListRowAccessible &row, AppActionRow::Part part);

    bool isValid() const override;
    QObject *object() const override { return nullptr; }
    QWindow *window() const override;
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    QAccessibleInterface *parent() const override;
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QString text(QAccessible::Text t) const override;
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    QStringList actionNames() const override;
    void doAction(const QString &actionName) override;
    QStringList keyBindingsForAction(const QString &actionName) const override;

private:
    // Qt's registry deletes parts, when their row drops them.
    ~AppsListRowPartAccessible() override = default;

    bool isCheckbox() const { return m_part == AppActionRow::Part::checkbox; }
    QString action() const;

    AppsListRowAccessible &m_row;
    AppActionRow::Part m_part;
};
