#pragma once

#include "board/CopyPlan.h"

#include <QList>
#include <QRegularExpression>
#include <QString>

namespace Korvane {

/// Which entries of a folder are left out when its changed files are sent: `.git`, `__pycache__`
/// and what the lines of a `.korvaneignore` name (docs/formats/ignore-rules.md).
class IgnoreRules final
{
public:
    /// The names that are always left out.
    IgnoreRules();

    /// Adds the rules of the lines of \p text; later rules take precedence.
    void add(const QString &text);

    /// \p relativePath is the path below the folder, with "/" as the separator. True also for
    /// everything in a folder that is left out.
    [[nodiscard]] bool isIgnored(const QString &relativePath, bool isDirectory) const;
    /// The items of \p items that are not left out. A folder with a `pyvenv.cfg` in it is a virtual
    /// environment and left out.
    [[nodiscard]] QList<CopyItem> keptOf(const QList<CopyItem> &items) const;

private:
    struct Rule
    {
        QRegularExpression pattern;
        bool isOnlyForFolders = false;
        bool isException = false; // "!"
    };

    /// What the last rule that matches decides for this path alone, without its parents.
    [[nodiscard]] bool isExcluded(const QString &relativePath, bool isDirectory) const;

    QList<Rule> m_rules;
};

} // namespace Korvane
