#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "document/EditorFile.h"

#include <QCoro/QCoroTask>
#include <QObject>

namespace Korvane {

class ShellSink;

/// The open documents, one tab each, and which of them is selected. There is always at least one:
/// closing the last opens a new untitled one.
class OpenFiles final : public QObject
{
    Q_OBJECT

public:
    /// Starts empty: the owner opens the first document. \p shell must outlive this.
    explicit OpenFiles(ShellSink &shell, QObject *parent = nullptr);

    /// Appends an untitled document, numbered by its place, and selects it.
    void newFile();
    /// Appends an unsaved document with that text, selects it and says so in the Shell. The same
    /// call twice gives two documents.
    void openTextInEditor(const QString &name, const QString &text);
    /// Selects the document that shows the file already, keeping its edits; otherwise reads the
    /// file, off the main thread, and opens it. Fails, changing nothing, when it can't be read or
    /// is not UTF-8.
    QCoro::Task<Result<void>> openFile(QString path);
    /// Selects the document that came from \p devicePath, if there is one.
    bool selectDeviceFile(const QString &devicePath);
    /// Appends a document that lives on the board and selects it.
    void openDeviceText(const QString &name, const QString &devicePath, const QString &fileText);
    /// Appends a document with unsaved edits, selects it and returns its id. It lives where the
    /// paths say; both may be empty.
    QUuid openUnsaved(const QString &name, const QString &path, const QString &devicePath,
                      const QString &fileText);
    /// Selects the document; one that is not open changes nothing.
    void select(const QUuid &id);
    /// The text of the selected document was edited. Without a selected document nothing happens.
    void updateSelectedContent(const QString &text);
    /// Sets the selected document's breakpoint on \p line (from 1), or takes it away.
    void toggleBreakpoint(int line);
    /// Takes away all breakpoints of the selected document.
    void clearBreakpoints();
    /// The document was saved with that \p content: it counts as unmodified, unless it was edited
    /// since. One that is not open any more changes nothing, here and below.
    void markSaved(const QUuid &id, const QString &content);
    /// The document lives at this local path now, under that name.
    void setPath(const QUuid &id, const QString &path, const QString &name);
    /// The document lives at this path on the board now, under that name.
    void setDevicePath(const QUuid &id, const QString &devicePath, const QString &name);
    /// Removes the document without a question, edited or not. If it was the selected one, the
    /// first of the rest is selected.
    void closeFile(const QUuid &id);

    /// In the order of the tabs.
    [[nodiscard]] const QList<EditorFile> &openFiles() const { return m_openFiles; }
    /// Null when nothing is selected.
    [[nodiscard]] QUuid selectedFileID() const { return m_selectedFileID; }
    /// Null without one. Valid until the next change of any document.
    [[nodiscard]] const EditorFile *selectedFile() const { return file(m_selectedFileID); }
    [[nodiscard]] const EditorFile *file(const QUuid &id) const;

signals:
    /// Documents came, went or moved.
    void openFilesChanged();
    void selectedFileChanged();
    /// What a tab shows of the document has changed: its name, where it lives, or whether it has
    /// edits that are not saved. A keystroke after the first does not.
    void fileChanged(const QUuid &id);
    void contentChanged(const QUuid &id);
    void breakpointsChanged(const QUuid &id);

private:
    void append(EditorFile file);
    bool selectFirst(const std::function<bool(const EditorFile &)> &matches);
    [[nodiscard]] EditorFile *editableFile(const QUuid &id);

    ShellSink &m_shell;
    QList<EditorFile> m_openFiles;
    QUuid m_selectedFileID;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
