#include "SettingsPopoverView.h"

#include "Contrast.h"
#include "LiteralText.h"
#include "models/AppSettings.h"
#include "SettingToggleRow.h"

#include <algorithm>
#include <QBoxLayout>
#include <QEvent>
#include <QFrame>
#include <QPushButton>
#include <QScreen>
#include <QStyleOptionFrame>
#include <QStylePainter>

namespace {
constexpr int inset = 16;
constexpr int spacing = 16;

QFrame *divider(QWidget *parent) {
    auto *line = new QFrame(parent);
    line->setFixedHeight(1);
    line->setBackgroundRole(QPalette::Mid);
    line->setAutoFillBackground(true);
    return line;
}
} // namespace

SettingsPopoverView::SettingsPopoverView(AppSettings &settings, const ApplicationBundles &bundles,
                                         QWidget *parent)
    : SettingsPopoverView(settings, SupportMail(bundles), parent) {}

SettingsPopoverView::SettingsPopoverView(AppSettings &settings, SupportMail supportMail,
                                         QWidget *parent)
    : QWidget(parent, Qt::Popup), m_settings(settings), m_supportMail(std::move(supportMail)) {
    setFixedWidth(fixedWidth);

    auto *launchAtLogin = new SettingToggleRow(
        tr("Launch at Login"), tr("Start Quellory automatically when you sign in."), this);
    bind(
        launchAtLogin, [this] { return m_settings.launchAtLogin(); },
        [this](bool on) { m_settings.setLaunchAtLogin(on); }, &AppSettings::launchAtLoginChanged);
    auto *showMenuBarIcon = new SettingToggleRow(
        tr("Show Menu Bar Icon"),
        tr("Hide the icon for a cleaner panel. Quellory stays in your task bar so you can "
           "reopen it."),
        this);
    bind(
        showMenuBarIcon, [this] { return m_settings.showMenuBarIcon(); },
        [this](bool on) { m_settings.setShowMenuBarIcon(on); },
        &AppSettings::showMenuBarIconChanged);

    // Created after the rows, so that Tab reaches it last, as it is shown.
    m_supportLink =
        new QPushButton(LiteralText::forShortcutMarks(tr("Facing issues? Contact us ↗")), this);
    m_supportLink->setFlat(true);
    QFont linkFont = font();
    linkFont.setPointSizeF(11);
    linkFont.setWeight(QFont::Normal);
    m_supportLink->setFont(linkFont);
    dimSupportLink();
    offerSupportLink();
    connect(m_supportLink, &QPushButton::clicked, this,
            [this] { m_supportMail.sendSupportMail(); });

    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(inset, inset, inset, inset);
    stack->setSpacing(spacing);
    stack->addWidget(launchAtLogin);
    stack->addWidget(divider(this));
    stack->addWidget(showMenuBarIcon);
    stack->addWidget(divider(this));
    stack->addWidget(m_supportLink, 0, Qt::AlignLeading);
}

void SettingsPopoverView::popUp(QWidget *anchor) {
    // The descriptions wrap, so the height follows from the width.
    const QSize size(fixedWidth, heightForWidth(fixedWidth));
    const QRect anchorBounds(anchor->mapToGlobal(QPoint(0, 0)), anchor->size());
    QRect bounds(QPoint(anchorBounds.center().x() - size.width() / 2, anchorBounds.bottom() + 1),
                 size);
    if (const QScreen *screen = anchor->screen()) {
        const QRect available = screen->availableGeometry();
        bounds.moveLeft(
            std::clamp(bounds.left(), available.left(),
                       std::max(available.left(), available.right() + 1 - size.width())));
    }
    setGeometry(bounds);
    show();
}

void SettingsPopoverView::showEvent(QShowEvent *event) {
    // The user may have changed the login item elsewhere since the popover was last shown.
    m_settings.syncLaunchAtLoginFromSystem();
    offerSupportLink();
    QWidget::showEvent(event);
}

void SettingsPopoverView::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    emit hidden();
}

void SettingsPopoverView::paintEvent(QPaintEvent *) {
    QStylePainter painter(this);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    frame.lineWidth = style()->pixelMetric(QStyle::PM_MenuPanelWidth, &frame, this);
    painter.drawPrimitive(QStyle::PE_FrameMenu, frame);
}

void SettingsPopoverView::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange)
        dimSupportLink();
    QWidget::changeEvent(event);
}

// The row shows the setting and writes the user's changes to it; the settings announce every
// change, also one that turns the user's change back.
void SettingsPopoverView::bind(SettingToggleRow *row, const std::function<bool()> &value,
                               const std::function<void(bool)> &assign,
                               void (AppSettings::*changed)()) {
    row->setOn(value());
    connect(row, &SettingToggleRow::switched, this, assign);
    connect(&m_settings, changed, row, [row, value] { row->setOn(value()); });
}

// A mail program may have been set up since the popover was last shown.
void SettingsPopoverView::offerSupportLink() {
    const bool canSend = m_supportMail.canSend();
    m_supportLink->setEnabled(canSend);
    m_supportLink->setToolTip(canSend ? tr("Open Mail to email support")
                                      : tr("No mail program is set up. Write to %1 from your mail.")
                                            .arg(m_supportMail.address()));
}

void SettingsPopoverView::dimSupportLink() {
    QPalette palette = m_supportLink->palette();
    palette.setColor(QPalette::ButtonText,
                     Contrast::atLeast(this->palette().color(QPalette::PlaceholderText),
                                       this->palette().color(QPalette::Window), Contrast::text));
    m_supportLink->setPalette(palette);
}
