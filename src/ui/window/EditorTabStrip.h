#pragma once

#include "document/EditorFile.h"

#include <QCoro/QCoroTask>
#include <QTabBar>

namespace Korvane {

class AppState;

/// One tab for each open document, in their order, which the mouse can change. A tab shows that its
/// document has edits that are not saved, in place of its close button.
class EditorTabStrip final : public QTabBar
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit EditorTabStrip(AppState &state, QWidget *parent = nullptr);

    /// Closes the selected tab as DocumentCloser::close does, which may ask about unsaved edits.
    void closeSelected();
    /// Selects the tab that is \p tabs to the right, continuing at the other end.
    void step(int tabs);

protected:
    void paintEvent(QPaintEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    [[nodiscard]] QSize tabSizeHint(int index) const override;
    [[nodiscard]] QSize minimumTabSizeHint(int index) const override;

private:
    void updateTabs();
    /// Scrolls to the tab of the selected document.
    void revealSelected();
    void showFile(int index, const EditorFile &file);
    void close(int index);
    QCoro::Task<void> closeOthers(QUuid kept);
    [[nodiscard]] QUuid idAt(int index) const { return tabData(index).toUuid(); }
    [[nodiscard]] int indexOf(const QUuid &id) const;

    AppState &m_state;
    bool m_isUpdating = false;
    int m_middlePressed = -1;
    QUuid m_dragged; // the document of the tab on which the left button is held
    QPoint m_pressed;
    bool m_isDragging = false;
    int m_turned = 0; // part of a wheel notch, in eighths of a degree
};

} // namespace Korvane
