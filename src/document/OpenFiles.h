#pragma once

#include "base/Background.h"
#include "base/Result.h"
#include "document/EditorFile.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <memory>
#include <vector>

namespace Korvane {

class ShellSink;

/// Owns the open documents, one tab each, and the selection among them. There is always at least
/// one: closing the last opens a new untitled one. Main thread only.
class OpenFiles final : public QObject
{
    Q_OBJECT

public:
    enum class Selection { Change, Keep };

    /// Starts empty: the owner opens the first document. \p shell must outlive this.
    explicit OpenFiles(ShellSink &shell, QObject *parent = nullptr);
    ~OpenFiles() override;

    /// Appends an untitled document, numbered by its place, and selects it.
    void newFile();
    /// Opens a document with that text that belongs to no file, selects it and writes a line about
    /// it to the Shell. An unmodified one with the same name is reloaded instead, unless it is
    /// being debugged.
    void openTextInEditor(const QString &name, const QString &text);
    /// Selects the document of the file, with its edits, if there is one; otherwise reads the
    /// file, off the main thread, and opens it. Fails, changing nothing, when it can't be read or
    /// is not UTF-8.
    QCoro::Task<Result<void>> openFile(QString path);
    /// Selects the document that belongs to \p place; false when there is none.
    bool selectPlace(const DocumentPlace &place);
    /// Appends an unmodified document and selects it.
    EditorFile &open(const QString &name, const DocumentPlace &place, const QString &fileText);
    /// Appends a document with unsaved edits, selects it and returns its id. The content of its
    /// file counts as unknown.
    QUuid openUnsaved(const QString &name, const DocumentPlace &place, const QString &fileText);
    /// Appends \p file and returns it. It becomes the selected one unless \p selection is Keep.
    EditorFile &add(std::unique_ptr<EditorFile> file, Selection selection = Selection::Change);
    /// Moves the document to the place \p index among the open ones.
    void moveFile(const QUuid &id, qsizetype index);
    /// Selects the document; one that is not open changes nothing.
    void select(const QUuid &id);
    /// Replaces the text of the selected document as one edit. Does nothing when none is selected.
    void updateSelectedContent(const QString &text);
    /// Sets the selected document's breakpoint on \p line (from 1), or removes it.
    void toggleBreakpoint(int line);
    /// Removes all breakpoints of the selected document.
    void clearBreakpoints();
    /// Removes the document without a question, edited or not. If it was the selected one, the
    /// first of the rest is selected.
    void closeFile(const QUuid &id);
    /// Emits unsavedClosing(), and then removes the document as closeFile() does.
    void closeKeepingEdits(const QUuid &id);
    /// The file or folder at \p from was moved to \p to: its documents belong to their new places
    /// from now on. Of the documents of a file that was replaced, those without edits are closed,
    /// and the others belong to no file any more.
    void followMove(const DocumentPlace &from, const DocumentPlace &to);
    /// The file or folder at \p place was deleted: marks its documents.
    void markDeleted(const DocumentPlace &place);

    /// In the order of the tabs. Valid until they are closed.
    [[nodiscard]] QList<EditorFile *> openFiles() const;
    /// Null when nothing is selected.
    [[nodiscard]] QUuid selectedFileID() const { return m_selectedFileID; }
    /// Null without one. Valid until it is closed.
    [[nodiscard]] EditorFile *selectedFile() const { return file(m_selectedFileID); }
    [[nodiscard]] EditorFile *file(const QUuid &id) const;
    /// The document that belongs to \p place; null without one.
    [[nodiscard]] EditorFile *fileAt(const DocumentPlace &place) const;

signals:
    /// Documents were opened, closed or moved.
    void openFilesChanged();
    void selectedFileChanged();
    /// The user has created, opened or selected a document, which may have been the selected one
    /// before.
    void fileChosen();
    /// The document is about to be removed.
    void fileClosing(const QUuid &id);
    /// The document, which has edits that are not saved, is about to be removed, and its text must
    /// be kept.
    void unsavedClosing(const QUuid &id);
    /// Name, place, isModified or fileChange of the document has changed. Further edits of a
    /// modified document do not emit it.
    void fileChanged(const QUuid &id);
    void contentChanged(const QUuid &id);
    void breakpointsChanged(const QUuid &id);

private:
    EditorFile &append(std::unique_ptr<EditorFile> file, Selection selection = Selection::Change);

    ShellSink &m_shell;
    std::vector<std::unique_ptr<EditorFile>> m_openFiles;
    QUuid m_selectedFileID;
    Background m_background;
};

} // namespace Korvane
