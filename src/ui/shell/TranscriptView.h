#pragma once

#include "base/Records.h"

#include <QPlainTextEdit>
#include <QTextCharFormat>
#include <QTimer>
#include <QVariantAnimation>

namespace Korvane {

class ShellTranscript;

/// The lines of the Shell as one read-only text that can be selected and copied across lines.
///
/// It takes what is new from the transcript at its own pace, a bounded piece in each turn of the
/// event loop, so that a program that floods the Shell never stops the window. A line longer than
/// `maxBlockLength` is shown in several blocks of the document, and where a lot waits, several
/// lines share a block: a document of a million blocks would cost seconds and a gigabyte at each
/// change of its width. What is copied is the text as it was printed.
///
/// It keeps showing the end unless the person has scrolled away from it.
class TranscriptView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// In characters.
    static constexpr qsizetype maxBlockLength = 2000;

    /// \p transcript must outlive this.
    explicit TranscriptView(const ShellTranscript &transcript, QWidget *parent = nullptr);

    /// Whether all that the transcript holds is in the document.
    [[nodiscard]] bool isCaughtUp() const;
    [[nodiscard]] bool followsEnd() const { return m_followsEnd; }
    /// Goes to the end, and stays there as it grows.
    void followEnd();

protected:
    QMimeData *createMimeDataFromSelection() const override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    class Writer;
    class SelectionKeeper;

    void forget();
    void showMore();
    void takeOver();
    void noteScrolling();
    void scrollToEnd();
    void applyTheme();
    void setTabWidth();
    void restoreLineCounts();
    [[nodiscard]] const QTextCharFormat &format(REPLLine::Kind kind) const;

    const ShellTranscript &m_transcript;
    QTextCharFormat m_plainFormat;
    QTextCharFormat m_errorFormat;
    QTextCharFormat m_infoFormat;
    QTimer m_more;
    QVariantAnimation m_scroll;

    // How far the transcript has been taken over.
    qsizetype m_line = 0;        // index of the line being taken
    qsizetype m_offset = 0;      // characters taken of it
    bool m_lineBegun = false;    // its first block exists
    bool m_owesLineEnd = false;  // a line end was taken; it is shown when something follows
    qsizetype m_blockLength = 0; // characters in the last block
    int m_blockLines = 1;        // lines that share the last block

    bool m_followsEnd = true;
    int m_scrolledTo = 0;
    bool m_isAdjusting = false; // scroll bar changes are ours, not the person's
};

} // namespace Korvane
