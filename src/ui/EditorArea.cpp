#include "ui/EditorArea.h"

#include "app/AppState.h"
#include "editor/CodeEditorView.h"
#include "ui/Theme.h"

#include <QLabel>
#include <QScopedValueRollback>

namespace Korvane {

EditorArea::EditorArea(AppState &state, QWidget *parent)
    : QStackedWidget(parent)
    , m_state(state)
    , m_editor(new CodeEditorView)
{
    auto *noFile = new QLabel(tr("No file open — use File › New or open a file"));
    noFile->setAlignment(Qt::AlignCenter);
    noFile->setWordWrap(true);
    m_noFile = noFile;
    m_editor->setFont(Theme::monospacedFont());
    addWidget(m_editor);
    addWidget(m_noFile);

    Documents &documents = state.documents();
    connect(m_editor, &CodeEditorView::textEdited, this, [this](const QString &text) {
        const QScopedValueRollback guard(m_isTakingEdit, true);
        m_state.documents().updateSelectedContent(text);
    });
    connect(&documents, &Documents::selectedFileChanged, this, &EditorArea::showSelected);
    connect(&documents, &Documents::fileChanged, this, [this](const QUuid &id) {
        if (id == m_state.documents().selectedFileID())
            showSelected();
    });
    connect(&documents, &Documents::contentChanged, this, [this](const QUuid &id) {
        if (id == m_state.documents().selectedFileID())
            showContent();
    });
    showSelected();
}

void EditorArea::showSelected()
{
    const EditorFile *file = m_state.documents().selectedFile();
    setCurrentWidget(file ? static_cast<QWidget *>(m_editor) : m_noFile);
    if (!file)
        return;
    m_editor->setAccessibleName(tr("Editor %1").arg(file->name));
    showContent();
}

void EditorArea::showContent()
{
    const EditorFile *file = m_state.documents().selectedFile();
    if (file && !m_isTakingEdit) // the editor has its own edits already
        m_editor->setText(file->content);
}

} // namespace Korvane
