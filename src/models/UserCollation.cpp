#include "UserCollation.h"

QCollator UserCollation::make(Qt::CaseSensitivity sensitivity) {
    QLocale locale;
    // The C locale compares code points, which would put "Zeta" before "alpha"; sessions
    // started without a language (containers, some display managers) still deserve a
    // readable order.
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setCaseSensitivity(sensitivity);
    return collator;
}
