#include "editor/EditorSearch.h"

#include "document/PythonTextStorage.h"
#include "editor/CodeEditorView.h"
#include "editor/FindBar.h"
#include "theme/Theme.h"

#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

/// Counting again in a long text takes longer than a key may.
constexpr auto recountDelay = 100ms;

/// More than a screen holds; only in a line that is many screens long there may be more.
constexpr qsizetype mostShown = 2000;

} // namespace

EditorSearch::EditorSearch(CodeEditorView &view)
    : QObject(&view)
    , m_view(view)
{
    m_delay.setSingleShot(true);
    m_delay.setInterval(recountDelay);
    connect(&m_delay, &QTimer::timeout, this, &EditorSearch::searchAgain);
    connect(&view, &CodeEditorView::barChanged, this, &EditorSearch::showFound);
    connect(&view, &CodeEditorView::contentShown, this, [this] {
        m_isStale = true;
        if (isOpen())
            m_delay.start();
    });
    connect(&view, &QPlainTextEdit::cursorPositionChanged, this, [this] {
        if (!m_isSelecting)
            m_origin = m_view.textCursor().selectionStart();
        showCount();
    });
    const QScrollBar *scrolling = view.verticalScrollBar();
    connect(scrolling, &QScrollBar::valueChanged, this, &EditorSearch::showFound);
    connect(scrolling, &QScrollBar::rangeChanged, this, &EditorSearch::showFound);
}

FindBar &EditorSearch::bar()
{
    if (m_bar)
        return *m_bar;
    m_bar = new FindBar(&m_view);
    connect(m_bar, &FindBar::searchChanged, this, &EditorSearch::searchFromOrigin);
    connect(m_bar, &FindBar::nextRequested, this, &EditorSearch::findNext);
    connect(m_bar, &FindBar::previousRequested, this, &EditorSearch::findPrevious);
    connect(m_bar, &FindBar::closeRequested, &m_view, [this] { m_view.setBar(nullptr); });
    return *m_bar;
}

bool EditorSearch::isOpen() const
{
    return m_bar && !m_bar->isHidden();
}

void EditorSearch::open()
{
    const QTextCursor selection = m_view.textCursor();
    const int start = selection.selectionStart();
    const QString selected = m_view.text().mid(start, selection.selectionEnd() - start);
    m_view.setBar(&bar());
    if (!selected.isEmpty() && !selected.contains(u'\n')) {
        m_bar->setQuery(selected);
        m_bar->takeFocus(); // selects what is now there
    }
    searchAgain();
}

void EditorSearch::findNext()
{
    refresh();
    const auto place = firstFrom(m_view.textCursor().selectionEnd());
    if (m_search.query.isEmpty())
        open();
    else if (!m_found.empty())
        select(place == m_found.cend() ? m_found.front() : *place);
    showCount();
}

void EditorSearch::findPrevious()
{
    refresh();
    const auto place = firstFrom(m_view.textCursor().selectionStart());
    if (m_search.query.isEmpty())
        open();
    else if (!m_found.empty())
        select(place == m_found.cbegin() ? m_found.back() : *std::prev(place));
    showCount();
}

void EditorSearch::searchFromOrigin()
{
    const int origin = m_origin;
    refresh();
    const QScopedValueRollback guard(m_isSelecting, true);
    if (m_found.empty()) {
        m_view.select(std::min(origin, static_cast<int>(m_view.text().size())), 0);
    } else {
        const auto place = firstFrom(origin);
        select(place == m_found.cend() ? m_found.front() : *place);
    }
    showCount();
    showFound();
}

void EditorSearch::searchAgain()
{
    refresh();
    showCount();
    showFound();
}

void EditorSearch::refresh()
{
    const TextSearch search = m_bar ? m_bar->search() : TextSearch();
    if (!m_isStale && search == m_search)
        return;
    m_search = search;
    m_found = m_search.positions(m_view.text());
    m_isStale = false;
    m_delay.stop();
}

void EditorSearch::select(int position)
{
    m_view.select(position, static_cast<int>(m_search.query.size()));
}

void EditorSearch::showCount()
{
    if (!isOpen() || m_isStale)
        return;
    const QTextCursor selection = m_view.textCursor();
    const auto place = firstFrom(selection.selectionStart());
    const bool isSelected = place != m_found.cend() && *place == selection.selectionStart()
        && selection.selectionEnd() - *place == m_search.query.size();
    m_bar->showCount(isSelected ? place - m_found.cbegin() + 1 : 0,
                     static_cast<qsizetype>(m_found.size()));
}

/// Puts a color behind the places that are in view.
void EditorSearch::showFound()
{
    QList<QTextEdit::ExtraSelection> shown;
    if (isOpen() && !m_isStale) {
        const auto [start, end] = m_view.visibleRange();
        QTextCharFormat format;
        format.setBackground(Theme::of(m_view.palette()).color(Theme::Role::FoundText));
        const int length = static_cast<int>(m_search.query.size());
        // In the middle of an edit the text may be shorter than it was.
        const int last = std::min(end, m_view.document()->characterCount() - 1 - length);
        for (auto place = firstFrom(start);
             place != m_found.cend() && *place <= last && shown.size() < mostShown; ++place) {
            QTextCursor cursor(m_view.document());
            cursor.setPosition(*place);
            cursor.setPosition(*place + length, QTextCursor::KeepAnchor);
            shown.append({cursor, format});
        }
    }
    if (!shown.isEmpty() || !m_view.extraSelections().isEmpty())
        m_view.setExtraSelections(shown);
}

EditorSearch::Places::const_iterator EditorSearch::firstFrom(int position) const
{
    return std::lower_bound(m_found.cbegin(), m_found.cend(), position);
}

} // namespace Korvane
