#include "ui/window/FileChangeBar.h"

#include "app/AppState.h"
#include "ui/controls/WrappedLabel.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>

namespace Korvane {

FileChangeBar::FileChangeBar(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_text(new WrappedLabel(QString()))
    , m_reload(new QPushButton(tr("Reload")))
    , m_keep(new QPushButton(tr("Keep")))
{
    setObjectName(QStringLiteral("fileChangeBar"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 4, 10, 4);
    row->addWidget(m_text, 1);
    row->addWidget(m_reload);
    row->addWidget(m_keep);
    m_reload->setObjectName(QStringLiteral("reloadFile"));
    m_keep->setObjectName(QStringLiteral("keepText"));
    m_reload->setToolTip(tr("Replace the text with the file’s content. This can be undone."));
    m_keep->setToolTip(tr("Keep the text; saving replaces the file"));
    const auto selected = [this] { return m_state.documents().selectedFileID(); };
    connect(m_reload, &QPushButton::clicked, this, [this, selected] {
        m_state.errors().reportFailureOf(m_state.fileWatch().reload(selected()));
    });
    connect(m_keep, &QPushButton::clicked, this,
            [this, selected] { m_state.fileWatch().keep(selected()); });
    OpenFiles &documents = state.documents();
    connect(&documents, &OpenFiles::fileChanged, this, &FileChangeBar::updateState);
    connect(&documents, &OpenFiles::selectedFileChanged, this, [this, selected] {
        updateState();
        m_state.fileWatch().check(selected());
    });
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState active) {
                if (active == Qt::ApplicationActive)
                    m_state.fileWatch().check();
            });
    updateState();
}

void FileChangeBar::updateState()
{
    const EditorFile *file = m_state.documents().selectedFile();
    const auto change = file ? file->fileChange() : EditorFile::FileChange::None;
    setVisible(change != EditorFile::FileChange::None);
    if (!isVisibleTo(parentWidget()))
        return;
    const bool isDeleted = change == EditorFile::FileChange::Deleted;
    const bool isOnBoard = file->place().kind == DocumentPlace::Kind::Board;
    const auto show = [this, file](const QString &text, const QString &shorter) {
        m_text->setText(text.arg(file->name()), shorter); // the name is in the tab
    };
    if (isDeleted)
        show(tr("The file of %1 was deleted. Saving creates it again."),
             tr("Deleted. Saving creates it again."));
    else if (isOnBoard)
        show(tr("%1 was changed on the board."), tr("Changed on the board."));
    else
        show(tr("%1 was changed by another program."), tr("Changed by another program."));
    m_reload->setVisible(!isDeleted);
}

} // namespace Korvane
