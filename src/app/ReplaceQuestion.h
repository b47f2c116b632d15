#pragma once

#include "base/UserPrompts.h"

#include <QStringList>

namespace Korvane {

/// What to do with files that exist where others are copied or moved to.
enum class ReplaceAnswer { Replace, Skip, Cancel };

/// Asks once for all of \p names. \p where names the place, for example "in /lib on the device".
/// Replace without a question when \p names is empty.
[[nodiscard]] QCoro::Task<ReplaceAnswer> askToReplace(UserPrompts &prompts, QStringList names,
                                                      QString where);

/// The first file name that two of \p paths have in common; empty when all names differ.
[[nodiscard]] QString repeatedName(const QStringList &paths);

/// Quoted and joined: the first \p limit names, and how many more there are.
[[nodiscard]] QString listOfNames(const QStringList &names, qsizetype limit = 5);

} // namespace Korvane
