#pragma once

#include "app/Preferences.h"

#include <QList>
#include <QString>

#include <utility>

class QCheckBox;
class QComboBox;
class QSpinBox;

/// Makes the controls of the preferences dialog, which the caller owns. Each shows the value of one
/// preference, also when that changes, and stores at once what the user chooses. The Preferences
/// must outlive them.
namespace Korvane::PreferenceControls {

/// Values with their texts.
using Choices = QList<std::pair<QString, QString>>;

[[nodiscard]] QCheckBox *makeFlag(Preferences &preferences, Preferences::Id id,
                                  const QString &title);
/// \p defaultText is shown for a default that is not within the range.
[[nodiscard]] QSpinBox *makeNumber(Preferences &preferences, Preferences::Id id,
                                   const QString &suffix, const QString &defaultText = {});
[[nodiscard]] QComboBox *makeChoice(Preferences &preferences, Preferences::Id id,
                                    const Choices &choices);
/// A choice of the installed families of fixed pitch and, first, of the desktop's fixed font.
[[nodiscard]] QComboBox *makeFontFamily(Preferences &preferences, Preferences::Id id);

/// Passes wheel events to the scroll area around \p control unless \p control has the focus.
void ignoreWheelWithoutFocus(QWidget *control);

} // namespace Korvane::PreferenceControls
