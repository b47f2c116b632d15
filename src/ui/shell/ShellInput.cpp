#include "ui/shell/ShellInput.h"

#include "theme/Theme.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>

#include <algorithm>
#include <cmath>

namespace Korvane {

namespace {

constexpr int maxShownLines = 8;

bool isBlank(QChar character)
{
    return character == u' ' || character == u'\t';
}

/// Removes the common indentation, so that lines from inside a function can be pasted.
QString withoutSharedIndentation(const QString &text)
{
    QStringList lines = text.split(u'\n');
    std::optional<QString> shared;
    for (QString &line : lines) {
        const auto end = std::find_if_not(line.cbegin(), line.cend(), isBlank);
        if (end == line.cend()) {
            line.clear();
            continue;
        }
        const QString indentation(line.constData(), end - line.cbegin());
        if (!shared)
            shared = indentation;
        const auto differs = std::mismatch(shared->cbegin(), shared->cend(), indentation.cbegin(),
                                           indentation.cend());
        shared->truncate(differs.first - shared->cbegin());
    }
    if (!shared || shared->isEmpty())
        return lines.join(u'\n');
    for (QString &line : lines)
        line.remove(0, std::min(line.size(), shared->size()));
    return lines.join(u'\n');
}

} // namespace

ShellInput::ShellInput(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setObjectName(QStringLiteral("shellInput"));
    setAccessibleName(tr("Shell input"));
    setFont(Theme::monospacedFont());
    setFrameShape(QFrame::NoFrame);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabChangesFocus(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // The background of the window is visible behind it.
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(2);
    connect(document(), &QTextDocument::blockCountChanged, this, &ShellInput::fitHeight);
    fitHeight();
}

QString ShellInput::text() const
{
    // toPlainText would replace no-break spaces by ordinary ones.
    QString text = document()->toRawText();
    return text.replace(QChar::ParagraphSeparator, u'\n');
}

void ShellInput::setText(const QString &text)
{
    setPlainText(text);
    moveCursor(QTextCursor::End);
}

QSize ShellInput::sizeHint() const
{
    const int lines = std::clamp(blockCount(), 1, maxShownLines);
    const qreal height =
        lines * QFontMetricsF(font()).lineSpacing() + 2 * document()->documentMargin();
    return {200, static_cast<int>(std::ceil(height)) + 1};
}

QSize ShellInput::minimumSizeHint() const
{
    return {80, sizeHint().height()};
}

void ShellInput::insertFromMimeData(const QMimeData *source)
{
    QString text = source->text();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    // A copied line usually contains its line end; that must not start a second line.
    while (text.endsWith(u'\n'))
        text.chop(1);
    if (text.contains(u'\n'))
        text = withoutSharedIndentation(text);
    insertPlainText(text);
    ensureCursorVisible();
}

void ShellInput::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy) && !textCursor().hasSelection()) {
        emit stopRequested();
        return;
    }
    if (event->keyCombination() == (Qt::CTRL | Qt::Key_D) && document()->isEmpty()) {
        emit endRequested();
        return;
    }
    if (claims(event->keyCombination())) {
        emit searchRequested();
        return;
    }
    const int key = event->key();
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::NoModifier) {
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            emit submitted();
            return;
        }
        // All lines of the input are in view, so these keys are free.
        if ((key == Qt::Key_PageUp || key == Qt::Key_PageDown) && blockCount() <= maxShownLines) {
            emit pageRequested(key == Qt::Key_PageUp ? Step::Back : Step::Forward);
            return;
        }
        const QTextBlock line = textCursor().block();
        if (key == Qt::Key_Up && !line.previous().isValid()) {
            emit historyRequested(Step::Back);
            return;
        }
        if (key == Qt::Key_Down && !line.next().isValid()) {
            emit historyRequested(Step::Forward);
            return;
        }
    } else if (modifiers == Qt::ShiftModifier && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
        textCursor().insertBlock(); // QPlainTextEdit would insert a line separator
        ensureCursorVisible();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void ShellInput::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateGeometry();
        emit fontChanged();
    }
}

void ShellInput::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    elidePlaceholder();
}

void ShellInput::setHint(const QString &hint)
{
    m_placeholder = hint;
    elidePlaceholder();
}

void ShellInput::elidePlaceholder()
{
    const int room = viewport()->width() - qRound(2 * document()->documentMargin()) - 1;
    setPlaceholderText(fontMetrics().elidedText(m_placeholder, Qt::ElideRight, room));
    viewport()->update(); // QPlainTextEdit repaints only when the placeholder appears or disappears
}

void ShellInput::fitHeight()
{
    const int lines = std::clamp(blockCount(), 1, maxShownLines);
    setVerticalScrollBarPolicy(blockCount() > maxShownLines ? Qt::ScrollBarAsNeeded
                                                            : Qt::ScrollBarAlwaysOff);
    if (std::exchange(m_shownLines, lines) != lines)
        updateGeometry();
}

} // namespace Korvane
