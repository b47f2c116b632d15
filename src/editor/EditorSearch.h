#pragma once

#include "editor/TextSearch.h"

#include <QObject>
#include <QTimer>

#include <vector>

namespace Korvane {

class CodeEditorView;
class FindBar;

/// Finds text in the editor: owns the find bar and knows all places where the document that is
/// shown has what is looked for.
class EditorSearch final : public QObject
{
    Q_OBJECT

public:
    explicit EditorSearch(CodeEditorView &view);

    /// Shows the bar with the selected text, if that is part of one line.
    void open();
    /// Select the next or previous place from the caret on, and begin again at the other end of the
    /// text; without a query they open the bar.
    void findNext();
    void findPrevious();

private:
    using Places = std::vector<int>;

    /// Made at the first call: at start-up its field would load a font that nothing else uses.
    [[nodiscard]] FindBar &bar();
    [[nodiscard]] bool isOpen() const;
    void searchFromOrigin();
    void searchAgain();
    void refresh();
    void select(int position);
    void showCount();
    void showFound();
    [[nodiscard]] Places::const_iterator firstFrom(int position) const;

    CodeEditorView &m_view;
    FindBar *m_bar = nullptr; // made when it is needed first, see bar()
    QTimer m_delay;
    TextSearch m_search;
    Places m_found;
    bool m_isStale = true;
    /// Where the caret was when the user began to type: each key in the query searches from there.
    int m_origin = 0;
    bool m_isSelecting = false;
};

} // namespace Korvane
