#pragma once

#include "base/Records.h"

#include <QObject>

namespace Korvane {

class ShellSink;

/// The open documents, one tab each, and which of them is selected. There is always at least one:
/// closing the last opens a new untitled one.
class Documents final : public QObject
{
    Q_OBJECT

public:
    /// Starts empty: the owner opens the first document. \p shell must outlive this.
    explicit Documents(ShellSink &shell, QObject *parent = nullptr);

    /// Appends an untitled document, numbered by its place, and selects it.
    void newFile();
    /// Appends an unsaved document with that text, selects it and says so in the Shell. The same
    /// call twice gives two documents.
    void openTextInEditor(const QString &name, const QString &text);
    /// Selects the document; one that is not open changes nothing.
    void select(const QUuid &id);
    /// The text of the selected document was edited. Without a selected document nothing happens.
    void updateSelectedContent(const QString &text);
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

private:
    void append(EditorFile file);
    [[nodiscard]] EditorFile *editableFile(const QUuid &id);

    ShellSink &m_shell;
    QList<EditorFile> m_openFiles;
    QUuid m_selectedFileID;
};

} // namespace Korvane
