#pragma once

#include "base/Lifetime.h"
#include "document/FileSearch.h"

#include <QCoro/QCoroTask>
#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace Korvane {

class AppState;
class CodeEditorView;

/// Finds text in all files of the local folder. The dialog is not modal, so that the list of places
/// remains visible beside the window; a place that is chosen is shown in the editor. Documents that
/// are open with edits are searched as they are in the editor.
class FindInFilesDialog final : public QDialog
{
    Q_OBJECT

public:
    /// \p state and \p editor must outlive this.
    FindInFilesDialog(AppState &state, CodeEditorView &editor, QWidget *parent);

    /// Shows the dialog for the folder that is browsed now, with the text that is selected in the
    /// editor.
    void open() override;
    /// Cancels the search, too.
    void reject() override;

private:
    void makeContent();
    void startOrStop();
    void add(const QList<FileSearch::Hit> &hits);
    void finish(const FileSearch::Outcome &outcome);
    void showRunning();
    QCoro::Task<void> openHit(FileSearch::Hit hit, bool takesFocus);
    void choose(const QTreeWidgetItem *item, bool takesFocus);

    AppState &m_state;
    CodeEditorView &m_editor;
    FileSearch m_search;
    QString m_folder;
    QList<FileSearch::Hit> m_hits;
    QTreeWidgetItem *m_fileItem = nullptr; // of the last hit
    QLineEdit *m_query;
    QCheckBox *m_matchCase;
    QCheckBox *m_wholeWords;
    QCheckBox *m_regularExpression;
    QPushButton *m_start;
    QLabel *m_place;
    QLabel *m_status;
    QTreeWidget *m_list;
    Lifetime m_life;
};

} // namespace Korvane
