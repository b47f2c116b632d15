#pragma once

#include <QWidget>

class QVBoxLayout;

namespace Korvane {

class AppState;
class CodeEditorView;
class Workspace;

/// Links to recent files and folders, above the editor while only an empty, untitled document is
/// open. Hidden while there are none, such as at the first start.
class StartPage final : public QWidget
{
    Q_OBJECT

public:
    /// Child of \p editor. \p workspace and \p state must outlive it.
    StartPage(Workspace &workspace, AppState &state, CodeEditorView &editor);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void updateVisibility();
    void fill();
    void fit();
    void addLinks(const QString &title, const QStringList &paths, bool areFolders);

    Workspace &m_workspace;
    AppState &m_state;
    CodeEditorView &m_editor;
    QVBoxLayout *m_column = nullptr;
};

} // namespace Korvane
