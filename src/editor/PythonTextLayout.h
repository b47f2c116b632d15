#pragma once

#include <QFont>
#include <QPlainTextDocumentLayout>
#include <QTextOption>

#include <optional>

namespace Korvane {

class PythonTextStorage;

/// Lays out and repaints only the blocks that have changed.
///
/// Giving a block other formats counts as a change of the document, and Qt joins it with the edit
/// in progress to one change from the first to the last of them: everything between would be laid
/// out again and the whole view painted. So this listens to the storage, which reports the actual
/// changes first.
class PythonTextLayout final : public QPlainTextDocumentLayout
{
    Q_OBJECT

public:
    struct Options
    {
        QFont font;
        QTextOption::WrapMode wrapMode;
        int tabWidth; // in spaces
        bool isWhitespaceShown;
    };

    /// Makes \p storage use a layout of this class, unless it does already. The storage owns it.
    static void attachTo(PythonTextStorage &storage);
    /// Sets the options of \p storage. The text is laid out again only when one has changed.
    static void setOptions(PythonTextStorage &storage, const Options &options);

protected:
    void documentChanged(int from, int removed, int added) override;

private:
    struct Edit
    {
        int from;
        int removed;
        int added;
    };
    /// A block by its position and the lines it had.
    struct Colored
    {
        int position;
        int lineCount;
    };

    explicit PythonTextLayout(PythonTextStorage &storage);
    void showColors(const Colored &colored);

    std::optional<Edit> m_edit;
    QList<Colored> m_colored;
};

} // namespace Korvane
