#pragma once

#include <QPlainTextEdit>

namespace Korvane {

/// The Shell's input field: one line high while it holds one line.
///
/// Return submits. A pasted text of several lines is kept, without the indentation that all its
/// lines share, and is submitted as one command; the field grows to show it. Shift+Return adds a
/// line by hand. Up and Down request the history, but inside several lines they first move through
/// them. Ctrl+C with nothing selected requests that the program is stopped.
class ShellInput final : public QPlainTextEdit
{
    Q_OBJECT

public:
    enum class Step { Back, Forward };

    explicit ShellInput(QWidget *parent = nullptr);

    /// Whether the field handles a key for which the window has a command, too.
    [[nodiscard]] static bool claims(QKeyCombination key) { return key == (Qt::CTRL | Qt::Key_R); }

    [[nodiscard]] QString text() const;
    /// Puts the cursor at the end.
    void setText(const QString &text);
    /// The placeholder text, shortened where it does not fit.
    void setHint(const QString &hint);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    void fontChanged();
    void submitted();
    void historyRequested(Korvane::ShellInput::Step step);
    /// Page Up or Page Down was pressed: the owner scrolls the transcript.
    void pageRequested(Korvane::ShellInput::Step step);
    /// The key for copying was pressed, and nothing is selected.
    void stopRequested();
    /// The key for searching in the history was pressed.
    void searchRequested();
    /// Ctrl+D was pressed in the empty field.
    void endRequested();

protected:
    void insertFromMimeData(const QMimeData *source) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void fitHeight();
    /// Needed because QPlainTextEdit wraps a long placeholder and shows only its first row.
    void elidePlaceholder();

    QString m_placeholder;
    int m_shownLines = 0;
};

} // namespace Korvane
