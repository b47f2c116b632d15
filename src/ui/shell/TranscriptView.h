#pragma once

#include "ui/shell/TranscriptFormats.h"
#include "ui/shell/TranscriptLinks.h"
#include "ui/shell/TranscriptWriter.h"

#include <QPlainTextEdit>
#include <QTextCursor>
#include <QTimer>
#include <QVariantAnimation>

#include <optional>

namespace Korvane {

class ShellTranscript;

/// The lines of the Shell as one read-only text that can be selected and copied across lines.
///
/// It copies new text from the transcript in bounded pieces, one in each turn of the event loop, so
/// that a program that prints without pause never blocks the window. A line longer than
/// `TranscriptBlock::maxLength` is shown in several blocks of the document, and where much text is
/// waiting, several lines share a block: a document of a million blocks would need seconds and a
/// gigabyte at each change of its width. What is copied is the text as it was printed.
///
/// It keeps showing the end unless the user has scrolled away from it. Where a traceback names a
/// place in a source, a click, or Return with the caret in that line, emits sourceRequested.
class TranscriptView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// \p transcript must outlive this.
    explicit TranscriptView(const ShellTranscript &transcript, QWidget *parent = nullptr);

    /// Whether all that the transcript holds is in the document.
    [[nodiscard]] bool isCaughtUp() const;
    [[nodiscard]] bool followsEnd() const { return m_followsEnd; }
    /// Scrolls to the end, and follows it when text is added.
    void followEnd();
    /// Selects the source line that a traceback names and emits sourceRequested: the last one of
    /// the Shell, and with each further call the one above it, until the end of the text changes.
    /// False when there is none.
    bool followNextLink();

signals:
    /// The key for copying was pressed, and nothing is selected.
    void stopRequested();
    /// The user requests the source line that a traceback names; \p run is the REPLLine::run of its
    /// lines.
    void sourceRequested(const QString &file, int line, int run);

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    /// Underlines the links to sources.
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    QMimeData *createMimeDataFromSelection() const override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    class SelectionKeeper;

    void reset();
    void copyMore();
    void copyNextPiece();
    void updateFollowsEnd();
    void scrollToEnd();
    void applyTheme();
    void removeOldest(qsizetype lines, qsizetype characters);
    /// Shortens the document to about the limit of the transcript.
    void shortenDocument();
    [[nodiscard]] std::optional<TranscriptLinks::Link> linkAt(const QPoint &point) const;
    bool follow(const std::optional<TranscriptLinks::Link> &link);
    void setTabWidth();
    void restoreLineCounts();

    const ShellTranscript &m_transcript;
    TranscriptFormats m_formats;
    QTextCursor m_linkCursor; // at the last link of followNextLink; null before the first
    QTimer m_copyTimer;
    QVariantAnimation m_scroll;
    int m_scrollStart = 0; // value of the scroll bar when the animation began

    // How much of the transcript is in the document.
    qsizetype m_line = 0;   // index of the line that is copied next
    qsizetype m_offset = 0; // characters of it that are copied
    TranscriptTail m_tail;

    bool m_followsEnd = true;
    int m_scrolledTo = 0;
    bool m_isAdjusting = false; // the scroll bar is changed by this class, not by the user
};

} // namespace Korvane
