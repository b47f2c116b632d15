#pragma once

#include "document/TextSearch.h"

#include <QObject>
#include <QTextCursor>
#include <QTimer>

#include <vector>

namespace Korvane {

class CodeEditorView;
class FindBar;

/// Finds text in the editor: creates the find bar, and has the list of all matches in the document
/// that is shown.
class EditorSearch final : public QObject
{
    Q_OBJECT

public:
    /// Child of \p view.
    explicit EditorSearch(CodeEditorView &view);

    /// Shows the bar with the selected text, if that is part of one line.
    void open();
    /// The same with the row for replacing. A selection of several lines becomes the range that is
    /// searched.
    void openReplace();
    /// Select the next or the previous match from the caret on, and continue at the other end of
    /// the text. Without a query they open the bar.
    void findNext();
    void findPrevious();

private:
    enum class Direction { Forward, Backward };
    using Matches = std::vector<TextSearch::Match>;

    /// Created by the first call: at start-up its field would load a font that nothing else uses.
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
    void select(const TextSearch::Match &match);
    [[nodiscard]] bool isSelected(const TextSearch::Match &match) const;
    void showCount();
    void showMatches();
    void find(Direction direction);
    [[nodiscard]] Matches::const_iterator firstFrom(int position) const;

    CodeEditorView &m_view;
    FindBar *m_bar = nullptr; // created by bar()
    QTimer m_recountDelay;
    TextSearch m_search;
    Matches m_found;
    QString m_error; // of the search; empty without one
    /// Around the text that is searched; null for all of it.
    QTextCursor m_scopeStart;
    QTextCursor m_scopeEnd;
    bool m_isStale = true;
    /// Where the caret was when the user began to type: each change of the query searches from it.
    int m_origin = 0;
    bool m_isSelecting = false;
    bool m_isReplacedShown = false; // in match of the count
};

} // namespace Korvane
