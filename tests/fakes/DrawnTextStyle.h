#pragma once

#include <algorithm>
#include <QImage>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

// A style that notes the texts it is given for push buttons and menu items, to tell what they
// look like on screen, where "&" marks a shortcut.
class DrawnTextStyle final : public QProxyStyle {
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override {
        if (const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option);
            button && element == CE_PushButtonLabel)
            m_texts << button->text;
        if (const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
            item && element == CE_MenuItem)
            m_texts << item->text;
        QProxyStyle::drawControl(element, option, painter, widget);
    }

    // Whether one of the noted texts, its marks shown as the style shows them, looks like
    // `shown` written out plainly: the same letters, nothing underlined.
    bool drew(const QString &shown) const {
        const QImage plain = image(shown, 0);
        return std::any_of(m_texts.begin(), m_texts.end(), [&plain](const QString &text) {
            return image(text, Qt::TextShowMnemonic) == plain;
        });
    }

private:
    static QImage image(const QString &text, int flags) {
        QImage image(600, 40, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.drawText(image.rect(), flags | Qt::AlignLeft | Qt::AlignVCenter, text);
        return image;
    }

    mutable QStringList m_texts;
};
