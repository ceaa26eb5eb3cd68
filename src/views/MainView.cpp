#include "MainView.h"

#include "AppsListView.h"
#include "CursorBlinkLimit.h"
#include "LaunchLoadingView.h"
#include "LiteralText.h"
#include "models/AppCatalog.h"
#include "SelectionBar.h"
#include "SettingsPopoverView.h"

#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QHash>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListView>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

namespace {

constexpr int crossFadeMs = 250;

// How long the search field's cursor blinks after the last input.
constexpr int searchBlinkMs = 10000;

} // namespace

MainView::MainView(const ViewEnvironment &environment, QWidget *parent)
    : QWidget(parent), m_environment(environment), m_search(new QLineEdit(this)),
      m_content(new QStackedWidget(this)), m_loading(new LaunchLoadingView(m_content)) {
    setMinimumSize(minimumSize);
    setMaximumSize(maximumSize);
    m_content->addWidget(m_loading);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeToolbar());
    layout->addWidget(m_content, 1);

    connect(&environment.catalog, &AppCatalog::isLoadingChanged, this, &MainView::showContent);
    // Tab goes as the eye does: the search, the settings button beside it, then the list.
    setTabOrder(m_search, m_settingsButton);
    if (!environment.catalog.isLoading())
        m_content->setCurrentWidget(list());
}

// Made once the catalog has loaded: the placeholder stands in its place until then, and the
// window's first paint does not wait for it. The search typed meanwhile carries over.
AppsListView *MainView::list() {
    if (m_list)
        return m_list;
    m_list = new AppsListView(m_environment.monitor, m_environment.catalog, m_environment.usage,
                              m_environment.icons, m_environment.actions, m_environment.bundles,
                              m_content);
    m_content->addWidget(m_list);
    m_list->setSearchText(m_search->text());
    connect(m_search, &QLineEdit::textChanged, m_list, &AppsListView::setSearchText);
    setTabOrder(m_settingsButton, m_list->selectionBar()->actionButton());
    setTabOrder(m_list->selectionBar()->actionButton(), m_list->listView());
    return m_list;
}

// Full-colour icons come first: Qt draws symbolic ones in their own grey, which vanishes on a
// dark toolbar.
QIcon MainView::settingsIcon() {
    for (const char *name : {"preferences-system", "emblem-system", "preferences-system-symbolic",
                             "emblem-system-symbolic"}) {
        const QIcon icon = QIcon::fromTheme(QString::fromLatin1(name));
        if (!icon.isNull())
            return icon;
    }
    return {};
}

QWidget *MainView::makeToolbar() {
    auto *toolbar = new QWidget(this);
    toolbar->setBackgroundRole(QPalette::Window);
    m_search->setPlaceholderText(tr("Search apps"));
    m_search->setAccessibleName(tr("Search apps"));
    // The clear button shows only over text; Qt draws its icon as it is added.
    connect(m_search, &QLineEdit::textChanged, this, &MainView::addClearButton,
            Qt::SingleShotConnection);
    new CursorBlinkLimit(m_search, searchBlinkMs);
    auto *find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, m_search, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, m_search,
            &QLineEdit::clear);

    m_settingsButton = new QToolButton(toolbar);
    m_settingsButton->setText(LiteralText::forShortcutMarks(tr("Settings")));
    m_settingsButton->setToolTip(tr("Settings"));
    m_settingsButton->setAccessibleName(tr("Settings"));
    m_settingsButton->setIcon(settingsIcon());
    m_settingsButton->setToolButtonStyle(
        m_settingsButton->icon().isNull() ? Qt::ToolButtonTextOnly : Qt::ToolButtonIconOnly);
    m_settingsButton->setAutoRaise(true);
    m_settingsButton->setFocusPolicy(Qt::StrongFocus);
    connect(m_settingsButton, &QToolButton::clicked, this,
            [this] { setShowSettings(!m_showSettings); });

    auto *row = new QHBoxLayout(toolbar);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(6);
    row->addWidget(m_search, 1);
    row->addWidget(m_settingsButton);
    return toolbar;
}

void MainView::addClearButton() {
    m_search->setClearButtonEnabled(true);
    // Qt's button has a picture and no name; a screen reader would read nothing.
    for (QToolButton *button : m_search->findChildren<QToolButton *>())
        button->setAccessibleName(tr("Clear search"));
}

QString MainView::searchText() const {
    return m_search->text();
}

void MainView::setShowSettings(bool show) {
    if (show == m_showSettings)
        return;
    m_showSettings = show;
    if (show)
        settingsPopover()->popUp(m_settingsButton);
    else if (m_settingsPopover)
        m_settingsPopover->hide();
}

// Made when first asked for: it asks the desktop for a mail program, which the window does not
// need to appear.
SettingsPopoverView *MainView::settingsPopover() {
    if (!m_settingsPopover) {
        m_settingsPopover =
            new SettingsPopoverView(m_environment.settings, m_environment.bundles, this);
        connect(m_settingsPopover, &SettingsPopoverView::hidden, this,
                [this] { setShowSettings(false); });
    }
    return m_settingsPopover;
}

void MainView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    m_environment.catalog.loadIfNeeded();
    configureMainWindow();
}

void MainView::showContent() {
    if (m_environment.catalog.isLoading() || (m_list && m_content->currentWidget() == m_list))
        return;
    m_content->setCurrentWidget(list());
    // The list fades in over the placeholder's place; the effect goes once it has, since it
    // would make every later repaint of the list go through an offscreen buffer.
    auto *fade = new QGraphicsOpacityEffect(m_list);
    m_list->setGraphicsEffect(fade);
    auto *animation = new QPropertyAnimation(fade, "opacity", fade);
    animation->setDuration(crossFadeMs);
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    connect(animation, &QPropertyAnimation::finished, m_list,
            [this] { m_list->setGraphicsEffect(nullptr); });
    animation->start();
}

QSize MainView::correctedSize(QSize size) {
    // Below the minimum a window goes back to its ideal size; above the maximum it is held there.
    if (size.width() < minimumSize.width())
        size.setWidth(idealSize.width());
    else if (size.width() > maximumSize.width())
        size.setWidth(maximumSize.width());
    if (size.height() < minimumSize.height())
        size.setHeight(idealSize.height());
    else if (size.height() > maximumSize.height())
        size.setHeight(maximumSize.height());
    return size;
}

QWidget *MainView::findMainWindow() {
    // Qt's widget list has no order; its window list has one: the order in which the windows
    // were made, which a widget's window is when the widget is first shown.
    QHash<const QWindow *, QWidget *> widgetOf;
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (const QWindow *window = widget->windowHandle())
            widgetOf.insert(window, widget);
    for (const QWindow *window : QGuiApplication::topLevelWindows()) {
        QWidget *widget = widgetOf.value(window);
        if (widget && widget->windowTitle() == windowTitle)
            return widget;
    }
    return nullptr;
}

void MainView::configureMainWindow() {
    QWidget *window = findMainWindow();
    if (!window)
        return;
    // Taken before the limits are set: setting them moves the size to the nearest limit, where a
    // window below the minimum goes back to its ideal size instead.
    const QSize size = window->size();
    window->setMinimumSize(minimumSize);
    window->setMaximumSize(maximumSize);
    // Its size limits are the window's whole point: it never goes full screen.
    window->setWindowState(window->windowState() & ~Qt::WindowFullScreen);
    if (const QSize corrected = correctedSize(size); corrected != window->size())
        window->resize(corrected);
}
