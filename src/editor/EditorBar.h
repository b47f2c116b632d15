#pragma once

#include <QWidget>

class QHBoxLayout;
class QVBoxLayout;
class QLineEdit;
class QToolButton;

namespace Korvane {

/// A bar of controls above the text, with a field first. Escape and the button at the right emit
/// closeRequested. A click on anything in it puts the focus into the field. Tab cycles through its
/// controls, since in the editor it inserts spaces.
class EditorBar : public QWidget
{
    Q_OBJECT

public:
    /// \p name is the accessible name, and is shown in the tooltip of the close button.
    EditorBar(const QString &name, QWidget *parent);

    /// Puts the focus into the field and selects what is there.
    void takeFocus();
    /// Arranges the bar for \p width and returns the height that it then needs, both in pixels.
    [[nodiscard]] virtual int fitTo(int width);

signals:
    void closeRequested();

protected:
    bool focusNextPrevChild(bool next) override;
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

    [[nodiscard]] QLineEdit *field() const { return m_field; }
    /// The rows of the bar; the first has the controls and the close button.
    [[nodiscard]] QVBoxLayout *rows() const { return m_rows; }
    /// The layout for controls, to the left of the close button.
    [[nodiscard]] QHBoxLayout *controls() const { return m_controls; }
    /// Returns a flat button of this bar. \p toolTip is also its accessible name.
    QToolButton *makeButton(const QString &text, const QString &toolTip);

private:
    QVBoxLayout *m_rows;
    QHBoxLayout *m_controls;
    QLineEdit *m_field;
};

} // namespace Korvane
