#include "editor/CodeEditorView.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QScopedValueRollback>

#include <algorithm>

namespace Korvane {

CodeEditorView::CodeEditorView(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setObjectName(QStringLiteral("editor"));
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    document()->setDocumentMargin(8);
    setTabWidth();
    // Not textChanged, which also tells of formats.
    connect(document(), &QTextDocument::contentsChange, this,
            [this](int, int charactersRemoved, int charactersAdded) {
                if (!m_isSetting && (charactersRemoved > 0 || charactersAdded > 0))
                    emit textEdited(text());
            });
}

QString CodeEditorView::text() const
{
    // toPlainText would turn no-break spaces into blanks.
    QString text = document()->toRawText();
    return text.replace(QChar::ParagraphSeparator, u'\n');
}

void CodeEditorView::setText(const QString &text)
{
    if (text == this->text())
        return;
    const QScopedValueRollback guard(m_isSetting, true);
    const int position = textCursor().selectionStart();
    setPlainText(text);
    QTextCursor cursor = textCursor();
    cursor.setPosition(std::min(position, document()->characterCount() - 1));
    setTextCursor(cursor);
}

void CodeEditorView::insertFromMimeData(const QMimeData *source)
{
    // Qt 6.4 takes the first of the formats without a look at whether there is one: pasting from
    // an empty clipboard would crash.
    if (source->hasText())
        insertPlainText(source->text());
}

bool CodeEditorView::focusNextPrevChild(bool next)
{
    if (next) // Tab is for the text
        return QPlainTextEdit::focusNextPrevChild(next);
    // The plain text edit would bar Shift+Tab too, and with it the way out.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    return QAbstractScrollArea::focusNextPrevChild(next);
}

void CodeEditorView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Tab && event->modifiers() == Qt::NoModifier)
        textCursor().insertText(QStringLiteral("    "));
    else
        QPlainTextEdit::keyPressEvent(event);
}

void CodeEditorView::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        setTabWidth();
}

void CodeEditorView::setTabWidth()
{
    setTabStopDistance(4 * fontMetrics().horizontalAdvance(u' '));
}

} // namespace Korvane
