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

/// In a long text, counting at each key press would delay typing.
constexpr auto recountDelay = 100ms;

/// More than a screen shows, unless a line is many screens long.
constexpr qsizetype mostShown = 2000;

} // namespace

EditorSearch::EditorSearch(CodeEditorView &view)
    : QObject(&view)
    , m_view(view)
{
    m_recountDelay.setSingleShot(true);
    m_recountDelay.setInterval(recountDelay);
    connect(&m_recountDelay, &QTimer::timeout, this, [this] {
        refresh();
        if (!m_isReplacedShown)
            showCount();
        showMatches();
    });
    connect(&view, &CodeEditorView::barChanged, this, [this] {
        if (!isOpen())
            forgetScope();
        showMatches();
    });
    connect(&view, &CodeEditorView::contentShown, this, [this] {
        m_isStale = true;
        if (m_scopeStart.isNull() || m_scopeStart.document() != m_view.document())
            forgetScope();
        if (isOpen())
            m_recountDelay.start();
    });
    connect(&view, &QPlainTextEdit::cursorPositionChanged, this, [this] {
        if (!m_isSelecting)
            m_origin = m_view.textCursor().selectionStart();
        showCount();
    });
    const QScrollBar *scrolling = view.verticalScrollBar();
    connect(scrolling, &QScrollBar::valueChanged, this, &EditorSearch::showMatches);
    connect(scrolling, &QScrollBar::rangeChanged, this, &EditorSearch::showMatches);
}

FindBar &EditorSearch::bar()
{
    if (m_bar)
        return *m_bar;
    m_bar = new FindBar(&m_view);
    connect(m_bar, &FindBar::searchChanged, this, &EditorSearch::searchFromOrigin);
    connect(m_bar, &FindBar::nextRequested, this, &EditorSearch::findNext);
    connect(m_bar, &FindBar::previousRequested, this, &EditorSearch::findPrevious);
    connect(m_bar, &FindBar::inSelectionRequested, this, &EditorSearch::setInSelection);
    connect(m_bar, &FindBar::replaceRequested, this, &EditorSearch::replace);
    connect(m_bar, &FindBar::replaceAllRequested, this, &EditorSearch::replaceAll);
    connect(m_bar, &FindBar::closeRequested, &m_view, [this] { m_view.setBar(nullptr); });
    return *m_bar;
}

bool EditorSearch::isOpen() const
{
    return m_bar && !m_bar->isHidden();
}

void EditorSearch::open()
{
    show(false);
}

void EditorSearch::openReplace()
{
    show(true);
}

void EditorSearch::show(bool withReplace)
{
    const QTextCursor selection = m_view.textCursor();
    const int start = selection.selectionStart();
    const QString selected = m_view.text().mid(start, selection.selectionEnd() - start);
    bar().setReplaceShown(withReplace);
    m_view.setBar(m_bar);
    if (selected.contains(u'\n')) {
        if (withReplace)
            setInSelection(true);
    } else if (!selected.isEmpty()) {
        m_bar->setQuery(selected);
        m_bar->takeFocus(); // selects what is now there
    }
    searchAgain();
}

void EditorSearch::findNext()
{
    find(Direction::Forward);
}

void EditorSearch::findPrevious()
{
    find(Direction::Backward);
}

void EditorSearch::find(Direction direction)
{
    refresh();
    const QTextCursor selection = m_view.textCursor();
    if (m_search.query.isEmpty()) {
        open();
    } else if (!m_found.empty() && direction == Direction::Forward) {
        const auto match = firstFrom(selection.selectionEnd());
        select(match == m_found.cend() ? m_found.front() : *match);
    } else if (!m_found.empty()) {
        const auto match = firstFrom(selection.selectionStart());
        select(match == m_found.cbegin() ? m_found.back() : *std::prev(match));
    }
    showCount();
}

void EditorSearch::replace()
{
    refresh();
    const TextSelection selected{m_view.textCursor().selectionStart(),
                                 m_view.textCursor().selectionEnd()};
    const auto match = firstFrom(selected.start());
    if (match == m_found.cend() || !isSelected(*match)) {
        findNext();
        return;
    }
    if (replaceIn(selected))
        findNext();
}

/// Replaces the matches in \p range. On failure, shows the reason in the bar and returns false.
bool EditorSearch::replaceIn(const TextSelection &range)
{
    const auto edit = m_search.replace(m_view.textWithPieceEnds(), range.start(), range.end(),
                                       m_bar->replacement());
    if (!edit) {
        m_bar->showError(edit.error().message);
        return false;
    }
    if (*edit)
        m_view.apply(**edit);
    return true;
}

void EditorSearch::replaceAll()
{
    refresh();
    const auto count = static_cast<qsizetype>(m_found.size());
    if (!replaceIn(scope()))
        return;
    m_isReplacedShown = true;
    m_bar->showReplaced(count);
}

/// Limits the search to the current selection, or removes the limit.
void EditorSearch::setInSelection(bool isInSelection)
{
    const QTextCursor selected = m_view.textCursor();
    forgetScope();
    if (isInSelection && selected.hasSelection()) {
        m_scopeStart = m_scopeEnd = QTextCursor(m_view.document());
        m_scopeStart.setPosition(selected.selectionStart());
        m_scopeStart.setKeepPositionOnInsert(true);
        m_scopeEnd.setPosition(selected.selectionEnd());
        m_bar->setInSelection(true);
    }
    searchAgain();
}

void EditorSearch::forgetScope()
{
    m_scopeStart = m_scopeEnd = QTextCursor();
    m_isStale = true;
    if (m_bar)
        m_bar->setInSelection(false);
}

/// The part of the text that is searched.
TextSelection EditorSearch::scope() const
{
    if (m_scopeStart.isNull())
        return {0, static_cast<int>(m_view.text().size())};
    return {m_scopeStart.position(), m_scopeEnd.position()};
}

void EditorSearch::searchFromOrigin()
{
    const int origin = m_origin;
    refresh();
    const QScopedValueRollback guard(m_isSelecting, true);
    if (m_found.empty()) {
        m_view.select(std::min(origin, static_cast<int>(m_view.text().size())), 0);
    } else {
        const auto match = firstFrom(origin);
        select(match == m_found.cend() ? m_found.front() : *match);
    }
    showCount();
    showMatches();
}

void EditorSearch::searchAgain()
{
    refresh();
    showCount();
    showMatches();
}

void EditorSearch::refresh()
{
    const TextSearch search = m_bar ? m_bar->search() : TextSearch();
    if (!m_isStale && search == m_search)
        return;
    m_search = search;
    auto found = m_search.find(m_view.textWithPieceEnds());
    m_error = found ? QString() : found.error().message;
    m_found = found ? std::move(*found) : Matches();
    const TextSelection range = scope();
    std::erase_if(m_found, [&](const TextSearch::Match &match) {
        return match.position < range.start() || match.position + match.length > range.end();
    });
    m_isStale = false;
    m_recountDelay.stop();
}

void EditorSearch::select(const TextSearch::Match &match)
{
    m_view.select(match.position, match.length);
}

bool EditorSearch::isSelected(const TextSearch::Match &match) const
{
    const QTextCursor selection = m_view.textCursor();
    return match.position == selection.selectionStart()
        && match.position + match.length == selection.selectionEnd();
}

void EditorSearch::showCount()
{
    m_isReplacedShown = false;
    if (!isOpen() || m_isStale)
        return;
    if (!m_error.isEmpty()) {
        m_bar->showError(m_error);
        return;
    }
    const auto match = firstFrom(m_view.textCursor().selectionStart());
    const bool isCurrent = match != m_found.cend() && isSelected(*match);
    m_bar->showCount(isCurrent ? match - m_found.cbegin() + 1 : 0,
                     static_cast<qsizetype>(m_found.size()));
}

/// Marks the matches that are in view with a background color.
void EditorSearch::showMatches()
{
    QList<QTextEdit::ExtraSelection> shown;
    if (isOpen() && !m_isStale) {
        const auto [start, end] = m_view.visibleRange();
        QTextCharFormat format;
        format.setBackground(Theme::of(m_view.palette()).color(Theme::Role::FoundText));
        // In the middle of an edit the text may be shorter than it was.
        const int last = m_view.document()->characterCount() - 1;
        for (auto match = firstFrom(start);
             match != m_found.cend() && match->position <= end && shown.size() < mostShown;
             ++match) {
            if (match->position + match->length > last)
                break;
            QTextCursor cursor(m_view.document());
            cursor.setPosition(match->position);
            cursor.setPosition(match->position + match->length, QTextCursor::KeepAnchor);
            shown.append({cursor, format});
        }
    }
    if (!shown.isEmpty() || !m_view.extraSelections().isEmpty())
        m_view.setExtraSelections(shown);
}

EditorSearch::Matches::const_iterator EditorSearch::firstFrom(int position) const
{
    return std::lower_bound(
        m_found.cbegin(), m_found.cend(), position,
        [](const TextSearch::Match &match, int wanted) { return match.position < wanted; });
}

} // namespace Korvane
