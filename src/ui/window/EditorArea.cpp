#include "ui/window/EditorArea.h"

#include "app/AppState.h"
#include "base/VisibleText.h"
#include "editor/CodeEditorView.h"
#include "ui/controls/Divider.h"
#include "ui/window/DebugBar.h"
#include "ui/window/EditorTabStrip.h"
#include "ui/window/FileChangeBar.h"

#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace Korvane {

EditorArea::EditorArea(AppState &state, const Actions &actions, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_tabs(new EditorTabStrip(state))
    , m_debugBar(new DebugBar(state, actions)) // widgets are made in the order of the Tab key
    , m_body(new QStackedWidget)
    , m_editor(new CodeEditorView)
{
    auto *noFile = new QLabel(tr("No file open — use File › New or open a file"));
    noFile->setAlignment(Qt::AlignCenter);
    noFile->setWordWrap(true);
    m_noFile = noFile;
    m_body->addWidget(m_editor);
    m_body->addWidget(m_noFile);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_tabs);
    column->addWidget(new Divider);
    connect(m_debugBar, &DebugBar::hiddenWithFocus, m_editor, qOverload<>(&QWidget::setFocus));
    column->addWidget(m_debugBar);
    column->addWidget(new FileChangeBar(state));
    column->addWidget(m_body, 1);

    OpenFiles &documents = state.documents();
    connect(m_editor, &CodeEditorView::breakpointToggleRequested, &documents,
            &OpenFiles::toggleBreakpoint);
    connect(&documents, &OpenFiles::selectedFileChanged, this, &EditorArea::showSelected);
    connect(&documents, &OpenFiles::fileChanged, this, [this](const QUuid &id) {
        if (id == m_state.documents().selectedFileID())
            showSelected();
    });
    showSelected();
}

void EditorArea::showSelected()
{
    EditorFile *file = m_state.documents().selectedFile();
    m_body->setCurrentWidget(file ? static_cast<QWidget *>(m_editor) : m_noFile);
    m_editor->showDocument(file);
    if (file)
        m_editor->setAccessibleName(tr("Editor %1").arg(VisibleText::line(file->name())));
}

} // namespace Korvane
