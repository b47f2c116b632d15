#pragma once

#include "document/EditorFile.h"

#include <QTabBar>

namespace Korvane {

class AppState;

/// One tab for each open document, in their order. A tab shows that its document has edits that
/// are not saved; only one without can be closed here.
class EditorTabStrip final : public QTabBar
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit EditorTabStrip(AppState &state, QWidget *parent = nullptr);

    /// Does what the chosen tab's close button does: nothing when it has none.
    void closeSelected();
    /// Chooses the tab that is \p tabs to the right, beginning anew at the end.
    void step(int tabs);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    [[nodiscard]] QSize tabSizeHint(int index) const override;
    [[nodiscard]] QSize minimumTabSizeHint(int index) const override;

private:
    void follow();
    void showFile(int index, const EditorFile &file);
    void close(int index);
    [[nodiscard]] QUuid idAt(int index) const { return tabData(index).toUuid(); }
    [[nodiscard]] int indexOf(const QUuid &id) const;

    AppState &m_state;
    bool m_isFollowing = false;
    int m_middlePressed = -1;
    int m_turned = 0; // of the wheel's notch that is not whole yet
};

} // namespace Korvane
