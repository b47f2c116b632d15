#pragma once

#include <QWidget>

class QVBoxLayout;

namespace Korvane {

class AppState;
class CodeEditorView;
class Workspace;

/// Recent files and folders, over the editor while nothing but an empty, untitled document is open.
/// Not there at a first start, when there are none.
class StartPage final : public QWidget
{
    Q_OBJECT

public:
    /// Lies over \p editor, which owns it. \p workspace and \p state must outlive it.
    StartPage(Workspace &workspace, AppState &state, CodeEditorView &editor);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void update();
    void fill();
    void fit();
    void addLinks(const QString &title, const QStringList &paths, bool areFolders);

    Workspace &m_workspace;
    AppState &m_state;
    CodeEditorView &m_editor;
    QVBoxLayout *m_column = nullptr;
};

} // namespace Korvane
