#include "ui/shell/TranscriptFormats.h"

#include "theme/Theme.h"
#include "ui/shell/TranscriptWriter.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace Korvane {

namespace {

constexpr int isReplMessageProperty = QTextFormat::UserProperty;

void recolorMessages(const QTextBlock &block, QTextCursor &cursor, const QTextCharFormat &format)
{
    for (auto i = block.begin(); !i.atEnd(); ++i) {
        const QTextFragment fragment = i.fragment();
        if (!fragment.charFormat().boolProperty(isReplMessageProperty))
            continue;
        cursor.setPosition(fragment.position());
        cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
        cursor.setCharFormat(format);
    }
}

} // namespace

void TranscriptFormats::setColors(const Theme &theme)
{
    m_error.setForeground(theme.color(Theme::Role::Red));
    m_info.setForeground(theme.color(Theme::Role::SecondaryLabel));
    m_replMessage.setForeground(theme.color(Theme::Role::SecondaryLabel));
    m_replMessage.setProperty(isReplMessageProperty, true);
}

const QTextCharFormat &TranscriptFormats::format(REPLLine::Kind kind, bool isReplMessage) const
{
    if (isReplMessage)
        return m_replMessage;
    switch (kind) {
    case REPLLine::Kind::Error:
        return m_error;
    case REPLLine::Kind::Info:
        return m_info;
    case REPLLine::Kind::Input:
    case REPLLine::Kind::Output:
        break;
    }
    return m_plain;
}

void TranscriptFormats::applyTo(QTextDocument &document) const
{
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const REPLLine::Kind kind = TranscriptBlock::of(block).kind;
        if (kind == REPLLine::Kind::Output)
            recolorMessages(block, cursor, m_replMessage);
        if (kind != REPLLine::Kind::Error && kind != REPLLine::Kind::Info)
            continue;
        cursor.setPosition(block.position());
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.setCharFormat(format(kind, false));
    }
    cursor.endEditBlock();
}

} // namespace Korvane
