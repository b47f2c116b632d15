#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <utility>

namespace Korvane {

/// Separates the messages of the board's REPL from program output: the "OK" before the output of a
/// program that was sent, the prompt after its reply, the banner when the raw REPL is left, and
/// what a soft reset prints around boot.py and main.py. Fed with the text of the board as it
/// arrives. Text is returned at once, except the start of a line of a restart for as long as the
/// line may still become a message.
class ReplMessages final
{
public:
    struct Piece
    {
        QString text;
        bool isMessage = false;
        friend bool operator==(const Piece &, const Piece &) = default;
    };

    /// A program was sent to the raw REPL: its acknowledgment is expected next.
    void expectReply();
    /// The raw REPL was left: the banner and the friendly prompt are expected next.
    void expectBanner();
    /// A soft reset was sent: it ends with a banner and the friendly prompt.
    void expectRestart();

    /// \p text without the end marks of a reply; \p endMarks are their places in it, ascending.
    [[nodiscard]] QList<Piece> feed(QStringView text, const QList<qsizetype> &endMarks = {});

    /// Returns what is held back and removes it. Call it when no more text will arrive.
    [[nodiscard]] QString takeHeldBack() { return std::exchange(m_line, {}); }

private:
    enum class Expected {
        Nothing,
        Acknowledgment,
        EndOfOutput,
        EndOfReply,
        Prompt,
        Banner,
        Restart
    };

    void feedPart(QStringView text, QList<Piece> &pieces);
    void feedRestart(QStringView text, QList<Piece> &pieces);
    void decideLine(QList<Piece> &pieces);
    void noteEndMark();
    /// Takes the part of \p text that belongs to the banner and returns its length.
    [[nodiscard]] qsizetype takeBanner(QStringView text);

    Expected m_expected = Expected::Nothing;
    qsizetype m_matched = 0; // characters of the acknowledgment
    QString m_banner;        // the part that has arrived
    QString m_line;          // of a restart, as long as it may become a message
    bool m_isLineDecided = false;
    bool m_isMessageLine = true;
    bool m_hasRestarted = false;
};

} // namespace Korvane
