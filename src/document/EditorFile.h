#pragma once

#include "document/TextFormat.h"

#include <QSet>
#include <QString>
#include <QUuid>

namespace Korvane {

/// One open document. Two values are equal when their ids are, whatever else differs.
struct EditorFile
{
    QUuid id = QUuid::createUuid();
    /// Tab title and file name.
    QString name;
    /// Where it is saved on this computer; empty when it is not.
    QString path;
    /// Where it lives on the board; empty when it does not.
    QString devicePath;
    /// As the editor shows it: every line ends in "\n".
    QString content;
    /// What turns `content` into the file's text again.
    TextFormat format = {};
    bool isModified = false;
    /// 1-based line numbers.
    QSet<int> breakpoints;

    /// The document that File › New makes while \p number - 1 others are open.
    [[nodiscard]] static EditorFile untitled(qsizetype number);

    /// The text as it goes into the file.
    [[nodiscard]] QString fileText() const { return format.attach(content); }

    friend bool operator==(const EditorFile &a, const EditorFile &b) { return a.id == b.id; }
};

} // namespace Korvane
