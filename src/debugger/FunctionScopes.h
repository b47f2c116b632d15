#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <vector>

namespace Korvane {

struct PythonSource;

/// Tracks which local names the function around the current line has bound so far, while a source
/// is read from top to bottom. The time for a line does not depend on the length of the function.
///
/// For each line on which a statement or header starts, in order: call `enter`, then `thunkMap` if
/// needed, then `leave`.
class FunctionScopes final
{
public:
    /// Borrows \p source.
    explicit FunctionScopes(const PythonSource &source)
        : m_source(source)
    {
    }

    /// Closes the blocks that the line \p index (from 0) is not in.
    void enter(qsizetype index);
    /// The local names so far, each with a function that yields its value, as a Python dictionary:
    /// "{'a':lambda:a}". At most the first 30 names, parameters before all others; "{}" at module
    /// level.
    [[nodiscard]] const QString &thunkMap() const;
    /// Notes what the line binds, and opens the block that it may be the header of.
    void leave(qsizetype index);

private:
    struct Function
    {
        void addLocal(QStringView name);
        void bind(QStringView name);

        /// The text that the views of the parameters in `locals` refer to.
        QString header;
        QList<QStringView> locals;
        QString thunkMap = QStringLiteral("{}");
        /// The names bound on lines of the body; the enclosing function takes them over.
        QList<QStringView> bound;
    };
    struct Block
    {
        int indent;
        bool isFunction;
    };

    [[nodiscard]] Function functionOf(qsizetype header) const;

    const PythonSource &m_source;
    /// The lines around the current one, each indented deeper than the one before.
    std::vector<Block> m_blocks;
    /// Those of the blocks that are functions.
    std::vector<Function> m_functions;
};

} // namespace Korvane
