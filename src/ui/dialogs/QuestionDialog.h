#pragma once

#include <QDialog>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QPushButton;

namespace Korvane {

/// A question with a title, a message and Cancel, which is the default and answers Escape. All
/// texts are plain text; long ones are wrapped and scrolled, so that the dialog fits on the screen.
///
/// All questions have the same width, and each kind of button has its own place: harmless answers
/// at the left, destructive ones next to Cancel, Cancel at the right. So a second click at the same
/// place does not press a button of another kind in the next question. No button moves while the
/// dialog is open.
class QuestionDialog final : public QDialog
{
    Q_OBJECT

public:
    enum class Effect { Harmless, Destructive };

    QuestionDialog(const QString &title, const QString &message, QWidget *window);

    /// Adds an answer, which closes the dialog. Never the default button. It keeps its place while
    /// it is hidden.
    QPushButton *addAnswer(const QString &title, Effect effect);
    /// Adds a check box below the message, labeled \p text with \p path in place of %1.
    QCheckBox *addPathOption(const QString &text, const QString &path);

    /// Shows \p text above the buttons, in place of an earlier one.
    void setCaption(const QString &text);

    /// The answer that was chosen; null for Cancel and while the question is open.
    [[nodiscard]] const QPushButton *chosen() const { return m_chosen; }

private:
    [[nodiscard]] QWidget *makeTexts(const QString &title, const QString &message, int width);
    [[nodiscard]] QBoxLayout *makeButtons();

    QBoxLayout *m_options;
    QBoxLayout *m_harmless;
    QBoxLayout *m_destructive;
    QLabel *m_caption;
    QPushButton *m_cancel;
    const QPushButton *m_chosen = nullptr;
};

} // namespace Korvane
