#pragma once

#include "app/AnsiFilter.h"
#include "base/ShellSink.h"

#include <QObject>

namespace Korvane {

/// The lines of the Shell. They are only ever added at the end, or all removed; their number has
/// no limit.
///
/// Output of a program is merged into one line, which may grow to hundreds of megabytes: it stays
/// linear as long as no other object keeps a copy of that line's text. Views therefore take what is
/// new from `outputExtended` and read `replLines` without keeping it.
class ShellTranscript final : public QObject, public ShellSink
{
    Q_OBJECT

public:
    explicit ShellTranscript(QObject *parent = nullptr);

    void appendLine(const QString &text, REPLLine::Kind kind) override;
    /// Adds what a program printed, cleaned as AnsiFilter does and merged into the last line if
    /// that is output. What has to wait for the next chunk (a "\r", the start of an escape
    /// sequence) is shown by `flushOutput` or by the next line at the latest.
    void appendOutput(const QString &text) override;
    /// Shows what still waits. To be called when the program that printed has ended.
    void flushOutput();
    void clear();

    [[nodiscard]] const QList<REPLLine> &replLines() const { return m_replLines; }

signals:
    /// A new line at the end; \p index is its place in `replLines`.
    void lineAppended(qsizetype index);
    /// \p text was added at the end of the last line, which is output and has a new id.
    void outputExtended(const QString &text);
    void cleared();

private:
    void addLine(const QString &text, REPLLine::Kind kind);
    void addOutput(const QString &text);

    QList<REPLLine> m_replLines;
    AnsiFilter m_cleaner;
};

} // namespace Korvane
