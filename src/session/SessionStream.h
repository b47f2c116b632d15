#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <variant>

namespace Korvane {

/// Separates program output from reply frames: both arrive on the child's standard output, a frame
/// between two 0x04 bytes (docs/formats/session-protocol.md).
///
/// The time is linear in the number of bytes, for any division into pieces.
class SessionStream final
{
public:
    /// What the program printed; never empty.
    struct Output
    {
        QString text;
        friend bool operator==(const Output &, const Output &) = default;
    };
    /// The bytes between the delimiters: JSON, unless the program printed a 0x04 of its own.
    struct Reply
    {
        QByteArray body;
        friend bool operator==(const Reply &, const Reply &) = default;
    };
    using Item = std::variant<Output, Reply>;

    /// What \p bytes complete, in the order in which it was written. Bytes that are not UTF-8 are
    /// held back, with all that follows, until a delimiter shows where the output ends; then they
    /// are replaced by U+FFFD.
    [[nodiscard]] QList<Item> feed(QByteArrayView bytes);

    /// To be called right before a request is written. A reply that has begun by then cannot be the
    /// answer: a program printed a 0x04 itself, and every later reply would be taken for output and
    /// the output for replies.
    void discardUnfinishedReply();

    /// Drops all state, for a new child.
    void clear();

private:
    void takeDecodable(QByteArrayView bytes, QList<Item> &items);

    QByteArray m_buffer; // undecoded output, or the body of an unfinished reply
    bool m_isInReply = false;
    bool m_isUndecodable = false; // nothing that follows can make m_buffer well-formed
};

} // namespace Korvane
