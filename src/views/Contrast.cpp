#include "Contrast.h"

#include <algorithm>
#include <cmath>

namespace {

double luminance(const QColor &color) {
    const auto channel = [](float value) {
        return value <= 0.04045f ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) +
           0.0722 * channel(color.blueF());
}

QColor mixed(const QColor &from, const QColor &to, double amount) {
    const auto mix = [amount](float a, float b) { return float(a + (b - a) * amount); };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

} // namespace

double Contrast::ratio(const QColor &a, const QColor &b) {
    const double first = luminance(a), second = luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor Contrast::over(const QColor &color, const QColor &background) {
    return mixed(background, QColor(color.rgb()), color.alphaF());
}

QColor Contrast::atLeast(const QColor &color, const QColor &background, double minimum) {
    const QColor shown = over(color, background);
    const QColor target =
        ratio(Qt::black, background) > ratio(Qt::white, background) ? Qt::black : Qt::white;
    constexpr int steps = 20;
    for (int step = 0; step < steps; ++step) {
        // As the screen shows it, in 8 bits a channel.
        const QColor candidate(mixed(shown, target, double(step) / steps).rgb());
        if (ratio(candidate, background) >= minimum)
            return candidate;
    }
    return target;
}
