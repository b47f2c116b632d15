#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace Korvane {

/// Sends one program in the raw-paste mode of the raw REPL: the board compiles it while it arrives,
/// and announces how many bytes it accepts next (docs/formats/raw-repl.md). The caller writes the
/// bytes and feeds what the board sends.
class RawPaste final
{
public:
    /// Whether the connected board offers raw-paste mode.
    enum class Support { Unknown, Offered, Missing };
    enum class State {
        Asking,
        Sending,
        /// The board has read the whole program, or has stopped reading because of an error.
        Ended,
        /// The board is in the raw REPL and has none of the program.
        Refused,
    };
    struct Step
    {
        /// To be written to the board now.
        QByteArray write;
        /// After the end: what follows is the program's output.
        QByteArray output;
    };

    /// Requests raw-paste mode; to be written when the board is in the raw REPL.
    static constexpr QByteArrayView request = "\x05"
                                              "A\x01";
    /// A smaller program is sent as a line of the raw REPL.
    static constexpr qsizetype smallestProgram = 4096;

    explicit RawPaste(QByteArray program);

    /// Takes what the board has sent; yields what to write next and, after the end, the output.
    [[nodiscard]] Step feed(QByteArrayView chunk);
    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] qsizetype sentBytes() const { return m_sent; }

private:
    void readAnswer(QByteArrayView &chunk);
    void readGrants(QByteArrayView &chunk);
    [[nodiscard]] QByteArray nextBytes();

    QByteArray m_program;
    qsizetype m_sent = 0;
    qsizetype m_window = 0;
    /// Bytes that the board still accepts.
    qsizetype m_granted = 0;
    QByteArray m_answer;
    State m_state = State::Asking;
    bool m_hasSentEnd = false;
};

} // namespace Korvane
