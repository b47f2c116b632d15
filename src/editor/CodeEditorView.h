#pragma once

#include <QPlainTextEdit>

namespace Korvane {

/// The editing surface: a view of one document's text, which belongs to somebody else.
class CodeEditorView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit CodeEditorView(QWidget *parent = nullptr);

    /// With "\n" line ends.
    [[nodiscard]] QString text() const;
    /// Shows \p text if it differs. The cursor stays where it was, or goes to the end of a shorter
    /// text. Does not count as an edit.
    void setText(const QString &text);

signals:
    /// The person changed the text.
    void textEdited(const QString &text);

protected:
    bool focusNextPrevChild(bool next) override;
    void insertFromMimeData(const QMimeData *source) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setTabWidth();

    bool m_isSetting = false;
};

} // namespace Korvane
