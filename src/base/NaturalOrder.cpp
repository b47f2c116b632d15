#include "base/NaturalOrder.h"

namespace Korvane {

namespace {

/// In the C locale QCollator falls back to plain comparison and ignores its modes, so that file10
/// would precede file2 there.
QLocale collationLocale()
{
    const QLocale locale;
    return locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates)
                                           : locale;
}

} // namespace

NaturalOrder::NaturalOrder()
    : m_collator(collationLocale())
{
    m_collator.setNumericMode(true);
    m_collator.setCaseSensitivity(Qt::CaseInsensitive);
}

} // namespace Korvane
