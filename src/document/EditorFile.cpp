#include "document/EditorFile.h"

#include "document/PythonTextStorage.h"
#include "theme/Theme.h"

#include <QTextBlock>

#include <utility>

namespace Korvane {

DocumentText DocumentText::fromFile(const QString &fileText)
{
    DocumentText text;
    text.content = text.format.detach(fileText);
    return text;
}

EditorFile::EditorFile(const QString &name, const DocumentPlace &place, const DocumentText &text,
                       QObject *parent)
    : QObject(parent)
    , m_name(name)
    , m_place(place)
    , m_storage(new PythonTextStorage(Theme::light(), this))
    , m_format(text.format)
    , m_saved(text)
{
    if (!text.content.isEmpty()) {
        m_storage->setText(m_longLines.breakUpAll(text.content));
        static_cast<void>(m_longLines.follow({}, 0, false));
    }
    connect(m_storage, &PythonTextStorage::linesEdited, this, &EditorFile::follow);
    connect(m_storage, &PythonTextStorage::edited, this, &EditorFile::handleEdited);
}

EditorFile::~EditorFile() = default;

QString EditorFile::untitledName(qsizetype number)
{
    return number == 1 ? QStringLiteral("untitled.py")
                       : QStringLiteral("untitled%1.py").arg(number);
}

QString EditorFile::path() const
{
    return m_place.kind == DocumentPlace::Kind::Local ? m_place.path : QString();
}

QString EditorFile::devicePath() const
{
    return m_place.kind == DocumentPlace::Kind::Board ? m_place.path : QString();
}

void EditorFile::moveTo(const QString &name, const DocumentPlace &place)
{
    if (name == m_name && place == m_place)
        return;
    m_name = name;
    m_place = place;
    emit changed();
}

QString EditorFile::textWithPieceEnds() const
{
    QString text = m_storage->text();
    for (const int line : m_longLines.continued())
        text[m_storage->findBlockByNumber(line - 1).position() - 1] = LongLines::pieceEnd;
    return text;
}

QString EditorFile::content() const
{
    return content(0, static_cast<int>(m_storage->text().size()));
}

QString EditorFile::content(int start, int end) const
{
    const QString &shown = m_storage->text();
    if (m_longLines.continued().isEmpty())
        return shown.mid(start, end - start);
    QString joined;
    joined.reserve(end - start);
    int taken = start;
    for (const int line : m_longLines.continued()) {
        const int lineEnd = m_storage->findBlockByNumber(line - 1).position() - 1;
        if (lineEnd < start || lineEnd >= end)
            continue;
        joined += QStringView(shown).sliced(taken, lineEnd - taken);
        taken = lineEnd + 1;
    }
    joined += QStringView(shown).sliced(taken, end - taken);
    return joined;
}

void EditorFile::setContent(const QString &content)
{
    m_storage->replaceText(m_longLines.breakUpAll(content));
    m_longLines.forgetInsertion();
}

void EditorFile::insertText(QTextCursor &cursor, QString text)
{
    const QTextBlock first = m_storage->findBlock(cursor.selectionStart());
    const QTextBlock last = m_storage->findBlock(cursor.selectionEnd());
    const qsizetype before = cursor.selectionStart() - first.position();
    const qsizetype after = last.position() + last.length() - 1 - cursor.selectionEnd();
    text = m_longLines.breakUp(TextFormat().detach(text), {first.blockNumber() + 1, before, after});
    cursor.insertText(text);
    m_longLines.forgetInsertion();
}

TextSelection EditorFile::apply(const TextEdit &edit)
{
    QString text = edit.replacement;
    text.remove(LongLines::pieceEnd);
    QTextCursor cursor(m_storage);
    cursor.setPosition(edit.start);
    cursor.setPosition(edit.end, QTextCursor::KeepAnchor);
    insertText(cursor, text);
    if (const auto &move = edit.move) {
        m_breakpoints.moveLines(move->firstLine, move->lastLine, move->movedBy);
        emit breakpointsChanged();
    }

    // The pieces of the inserted lines may end elsewhere than before.
    const int end = cursor.position();
    const auto shown = [&](int position) {
        const int inserted = position - edit.start;
        if (inserted <= 0)
            return position;
        if (inserted > edit.replacement.size())
            return end + inserted - static_cast<int>(edit.replacement.size());
        int place = position
            - static_cast<int>(
                        QStringView(edit.replacement).first(inserted).count(LongLines::pieceEnd));
        for (const int line : m_longLines.continued()) {
            const int pieceEnd = m_storage->findBlockByNumber(line - 1).position() - 1;
            if (pieceEnd >= place)
                break;
            if (pieceEnd >= edit.start)
                ++place;
        }
        return place;
    };
    return {shown(edit.selection.anchor), shown(edit.selection.position)};
}

void EditorFile::reload(const DocumentText &text)
{
    m_saved = text;
    ++m_savedNumber;
    setContent(text.content);
    m_format = text.format;
    updateModified();
    setFileChange(FileChange::None);
}

bool EditorFile::isUntouched() const
{
    return m_place.kind == DocumentPlace::Kind::None && !m_isModified && content().isEmpty()
        && !m_storage->isUndoAvailable() && !m_storage->isRedoAvailable();
}

void EditorFile::setSavedText(const std::optional<DocumentText> &text)
{
    m_saved = text;
    ++m_savedNumber;
    updateModified();
    setFileChange(FileChange::None);
}

void EditorFile::setFileChange(FileChange change)
{
    if (std::exchange(m_fileChange, change) != change)
        emit changed();
}

void EditorFile::toggleBreakpoint(int line)
{
    m_breakpoints.toggle(line);
    emit breakpointsChanged();
}

void EditorFile::clearBreakpoints()
{
    if (m_breakpoints.lines().isEmpty())
        return;
    m_breakpoints.clear();
    emit breakpointsChanged();
}

void EditorFile::setDebugLines(const QSet<int> &armed, std::optional<int> paused)
{
    if (armed == m_armedLines && paused == m_pausedLine)
        return;
    m_armedLines = armed;
    m_pausedLine = paused;
    emit debugLinesChanged();
}

void EditorFile::follow(const LineEdit &shownEdit, int undoSteps, bool isHistory)
{
    const LineEdit edit = m_longLines.follow(shownEdit, undoSteps, isHistory);
    m_format.edited(edit.firstLine, edit.removedLines, edit.addedLines);
    if (m_breakpoints.follow(edit, undoSteps, isHistory))
        m_haveBreakpointsMoved = true;
}

void EditorFile::handleEdited()
{
    emit contentChanged();
    updateModified();
    if (std::exchange(m_haveBreakpointsMoved, false))
        emit breakpointsChanged();
}

void EditorFile::updateModified()
{
    // Most edits change the length, so that the texts need not be compared.
    const qsizetype size = m_storage->text().size() - m_longLines.continued().size();
    const bool isSame = m_saved && m_saved->content.size() == size && m_saved->content == content();
    // Undoing the removal of a line does not restore its line end in a file that mixes them.
    if (isSame)
        m_format = m_saved->format;
    if (std::exchange(m_isModified, !isSame) == isSame)
        emit changed();
}

} // namespace Korvane
