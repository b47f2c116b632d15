#pragma once

#include "app/Preferences.h"

#include <QList>
#include <QString>

#include <utility>

class QCheckBox;
class QComboBox;
class QSpinBox;

/// Controls of the preferences dialog. Each shows the value of one preference, follows it, and
/// stores what the user chooses at once.
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
/// The families with characters of one width, and the desktop's choice.
[[nodiscard]] QComboBox *makeFontFamily(Preferences &preferences, Preferences::Id id);

/// Passes wheel events to the scroll area around \p control unless that has the focus.
void ignoreWheelWithoutFocus(QWidget *control);

} // namespace Korvane::PreferenceControls
