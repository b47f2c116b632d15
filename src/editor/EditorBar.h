#pragma once

#include <QWidget>

class QHBoxLayout;
class QVBoxLayout;
class QLineEdit;
class QToolButton;

namespace Korvane {

/// A bar of controls above the text, with a field first. Escape and its button at the right ask to
/// close it. A click on anything in it puts the focus into the field. Tab cycles through its
/// controls, because the editor keeps Tab for the text.
class EditorBar : public QWidget
{
    Q_OBJECT

public:
    /// \p name says what the bar is for.
    EditorBar(const QString &name, QWidget *parent);

    /// Puts the focus into the field and selects what is there.
    void takeFocus();
    /// The height that the bar needs in \p width.
    [[nodiscard]] virtual int fitTo(int width);

signals:
    void closeRequested();

protected:
    bool focusNextPrevChild(bool next) override;
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

    [[nodiscard]] QLineEdit *field() const { return m_field; }
    /// The rows of the bar; the first has the controls and the button that closes.
    [[nodiscard]] QVBoxLayout *rows() const { return m_rows; }
    /// Where controls go, from the left, ahead of the button that closes.
    [[nodiscard]] QHBoxLayout *controls() const { return m_controls; }
    /// A flat button whose whole meaning is in its tooltip, which is read out as well.
    QToolButton *makeButton(const QString &sign, const QString &toolTip);

private:
    QVBoxLayout *m_rows;
    QHBoxLayout *m_controls;
    QLineEdit *m_field;
};

} // namespace Korvane
