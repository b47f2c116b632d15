#include "board/CopyMessages.h"

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

/// \p done is what has happened to the files before.
Error stoppedAt(const QString &operation, const QString &done, const QString &place,
                const QString &path, const Error &cause)
{
    Error error = cause;
    if (cause.code == ErrorCode::Closed)
        return error;
    if (cause.code != ErrorCode::Canceled) {
        error.cause = cause.message;
        error.message = u"%1 stopped at %2."_s.arg(operation, path);
        return error;
    }
    error.message =
        u"%1 canceled at %2 (%3); the files before it were %4."_s.arg(operation, path, place, done);
    // What the board holds of the file at which the copy was canceled.
    const QString state = cause.message.section(u" — "_s, 1);
    if (!state.isEmpty())
        error.message += u' ' + state;
    return error;
}

QString placeOf(qsizetype index, qsizetype count)
{
    return u"%1 of %2"_s.arg(QString::number(index + 1), QString::number(count));
}

} // namespace

QString copyProgress(const QString &path, qsizetype index, qsizetype count)
{
    return u"Copying %1 (%2)…"_s.arg(path, placeOf(index, count));
}

QString sendingProgress(const QString &path, qsizetype index, qsizetype count)
{
    return u"Sending %1 (%2)…"_s.arg(path, placeOf(index, count));
}

QString deletingProgress(const QString &path, qsizetype index, qsizetype count)
{
    return u"Deleting %1 (%2)…"_s.arg(path, placeOf(index, count));
}

Error copyStoppedAt(const QString &path, qsizetype index, qsizetype count, const Error &cause)
{
    return stoppedAt(u"Copy"_s, u"copied"_s, placeOf(index, count), path, cause);
}

Error sendingStoppedAt(const QString &path, qsizetype index, qsizetype count, const Error &cause)
{
    return stoppedAt(u"Sending"_s, u"sent"_s, placeOf(index, count), path, cause);
}

Error deletingStoppedAt(const QString &path, qsizetype index, qsizetype count, const Error &cause)
{
    return stoppedAt(u"Deleting"_s, u"deleted"_s, placeOf(index, count), path, cause);
}

} // namespace Korvane
