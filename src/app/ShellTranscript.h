#pragma once

#include "app/AnsiFilter.h"
#include "base/ShellSink.h"

#include <QObject>

namespace Korvane {

/// The lines of the Shell. New lines are added at the end. The oldest text is removed when the
/// total length exceeds the limit.
///
/// Output of a program is merged into one line, which may grow to hundreds of megabytes: the time
/// is linear as long as no other object holds a copy of that line's text. Views therefore take new
/// text from `outputExtended` and do not store `replLines`.
class ShellTranscript final : public QObject, public ShellSink
{
    Q_OBJECT

public:
    explicit ShellTranscript(QObject *parent = nullptr);

    void appendLine(const QString &text, REPLLine::Kind kind) override;
    /// Adds what a program printed, cleaned as AnsiFilter does and merged into the last line if
    /// that is output. What is held back until the next chunk (a "\r", the start of an escape
    /// sequence) is shown by `flushOutput` or by the next line at the latest.
    void appendOutput(const QString &text) override;
    /// Shows what is held back. Call it when the program that printed has ended.
    void flushOutput();
    /// As appendOutput(), marked as a message of the REPL. Adds nothing while those are not shown.
    void appendReplMessage(const QString &text) override;
    void clear();
    /// Run numbers are from 1 to this; the next one is 1 again.
    static constexpr int maxRun = 0x1ffff;
    /// Lines from now on belong to a new run, whose number this returns.
    int beginRun();
    /// Lines from now on belong to no run.
    void endRun() { m_run = 0; }
    void setShowsReplMessages(bool isShown) { m_showsReplMessages = isShown; }
    /// In characters. A tenth more is kept until the oldest text is removed, so that removing takes
    /// linear time.
    void setLimit(qsizetype characters);
    [[nodiscard]] qsizetype limit() const { return m_limit; }

    [[nodiscard]] const QList<REPLLine> &replLines() const { return m_replLines; }

signals:
    /// A new line at the end; \p index is its place in `replLines`.
    void lineAppended(qsizetype index);
    /// \p text was added at the end of the last line, which is output and has a new id.
    void outputExtended(const QString &text);
    void cleared();
    /// The first \p lines lines were removed, and then \p characters of the one that is first now.
    void trimmed(qsizetype lines, qsizetype characters);

private:
    void addLine(const QString &text, REPLLine::Kind kind);
    enum class Source { Program, Repl };
    void addOutput(const QString &text, Source source = Source::Program);
    void trim();

    QList<REPLLine> m_replLines;
    AnsiFilter m_filter;
    bool m_showsReplMessages = true;
    qsizetype m_limit = 100'000'000;
    qsizetype m_characters = 0; // of all lines
    int m_run = 0;
    int m_lastRun = 0;
};

} // namespace Korvane
