#pragma once

#include "document/TextSearch.h"

#include <QObject>
#include <QTextCursor>
#include <QTimer>

#include <vector>

namespace Korvane {

class CodeEditorView;
class FindBar;

/// Finds text in the editor: owns the find bar and the list of all places where the document that
/// is shown has what is looked for.
class EditorSearch final : public QObject
{
    Q_OBJECT

public:
    explicit EditorSearch(CodeEditorView &view);

    /// Shows the bar with the selected text, if that is part of one line.
    void open();
    /// The same with the row that replaces. Only in the selection, if that has several lines.
    void openReplace();
    /// Select the next or previous place from the caret on, and begin again at the other end of the
    /// text; without a query they open the bar.
    void findNext();
    void findPrevious();

private:
    enum class Direction { Forward, Backward };
    using Places = std::vector<TextSearch::Match>;

    /// Made at the first call: at start-up its field would load a font that nothing else uses.
    [[nodiscard]] FindBar &bar();
    [[nodiscard]] bool isOpen() const;
    void show(bool withReplace);
    void searchFromOrigin();
    void searchAgain();
    void refresh();
    void setInSelection(bool isInSelection);
    void forgetScope();
    [[nodiscard]] TextSelection scope() const;
    void replace();
    void replaceAll();
    bool replaceIn(const TextSelection &range);
    void select(const TextSearch::Match &place);
    [[nodiscard]] bool isSelected(const TextSearch::Match &place) const;
    void showCount();
    void showFound();
    void find(Direction direction);
    [[nodiscard]] Places::const_iterator firstFrom(int position) const;

    CodeEditorView &m_view;
    FindBar *m_bar = nullptr; // made when it is needed first, see bar()
    QTimer m_delay;
    TextSearch m_search;
    Places m_found;
    QString m_fault; // of the search; empty without one
    /// Around the text that is searched; null for all of it.
    QTextCursor m_scopeStart;
    QTextCursor m_scopeEnd;
    bool m_isStale = true;
    /// Where the caret was when the user began to type: each key in the query searches from there.
    int m_origin = 0;
    bool m_isSelecting = false;
    bool m_isReplacedShown = false; // in place of the count
};

} // namespace Korvane
