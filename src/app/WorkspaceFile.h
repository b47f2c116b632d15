#pragma once

#include "document/DocumentPlace.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

namespace Korvane {

/// The documents and folders that are restored at the next start, as stored in a JSON file. A plain
/// value, usable on any thread.
struct WorkspaceFile
{
    static constexpr qsizetype maxDocuments = 100;
    static constexpr qsizetype maxRecent = 10;

    /// The place and the editing state of an open document.
    struct Document
    {
        DocumentPlace place;
        /// In UTF-16 units from the start of the text.
        int caret = 0;
        /// From 1.
        int firstVisibleLine = 1;
        /// Lines from 1, ascending.
        QList<int> breakpoints;

        friend bool operator==(const Document &, const Document &) = default;
    };

    /// In the order of the tabs.
    QList<Document> documents;
    /// Index of the selected document; -1 when it is not among them.
    int selected = -1;
    QString folder;
    /// Local paths, the latest first.
    QStringList recentFiles;
    QStringList recentFolders;

    /// $XDG_STATE_HOME/korvane/workspace.json, by default below ~/.local/state.
    [[nodiscard]] static QString defaultPath();
    /// Parses \p json; values of unexpected form are left out, and a damaged file is empty.
    [[nodiscard]] static WorkspaceFile fromJson(const QByteArray &json);
    [[nodiscard]] QByteArray toJson() const;

    /// Puts \p path first into \p recent, once, and drops the oldest beyond the limit.
    static void addRecent(QStringList &recent, const QString &path);

    friend bool operator==(const WorkspaceFile &, const WorkspaceFile &) = default;
};

} // namespace Korvane
