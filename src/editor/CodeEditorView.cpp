#include "editor/CodeEditorView.h"

#include <QEvent>
#include <QKeyEvent>
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
