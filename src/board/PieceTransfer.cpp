#include "board/PieceTransfer.h"

#include "board/DeviceError.h"
#include "board/DeviceLink.h"

#include <QElapsedTimer>

#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto pieceTimeout = 15s;
constexpr int maxAttempts = 4;
constexpr int hashBlocks = 128;   // of 512 bytes
constexpr int maxNameBytes = 200; // longer names are cut, to have room for ".part"

Error canceledError()
{
    return {ErrorCode::Canceled, QStringLiteral("The transfer was canceled")};
}

Error damagedError()
{
    return {
        ErrorCode::Damaged,
        QStringLiteral("Bytes were lost on the link to the board, also when they were sent again")};
}

bool isOutOfMemory(const Error &error)
{
    return error.code == ErrorCode::Remote
        && error.message.startsWith(QLatin1String("MemoryError"));
}

/// Whether \p error is one that occurs when bytes of a command were lost or changed on the link.
bool isLinkError(const Error &error)
{
    if (error.code == ErrorCode::TimedOut || error.code == ErrorCode::Damaged)
        return true;
    const QString &message = error.message;
    return error.code == ErrorCode::Remote
        && (message.contains(QLatin1String("__LOST__"))
            || message.startsWith(QLatin1String("SyntaxError"))
            || message.startsWith(QLatin1String("IndentationError"))
            || message.startsWith(QLatin1String("ValueError"))
            || message.startsWith(QLatin1String("NameError")));
}

/// True when the command may nevertheless have been executed. The error of a program that raised an
/// exception has a traceback, the one of a program that a reset ended has none.
bool isEffectUnknown(const Error &error)
{
    return isLinkError(error) || error.code == ErrorCode::NotConnected
        || (error.code == ErrorCode::Remote && error.detail.isEmpty());
}

/// True when the command was not sent: a program uses the board, or the board did not enter the raw
/// REPL.
bool isUnsent(const Error &error)
{
    return error.code == ErrorCode::ProgramRunning || error.code == ErrorCode::PausedAtBreakpoint
        || error.code == ErrorCode::NoRawREPL;
}

} // namespace

PieceTransfer::PieceTransfer(DeviceLink &link, const BoardCapabilities &board, Observer observer)
    : m_link(link)
    , m_connection(link.connectionNumber())
    , m_board(board)
    , m_observer(std::move(observer))
    , m_pieceSize(board.freeHeapBytes)
    , m_digest(board)
    , m_encoding(board.base64Module.isEmpty() ? TransferScripts::Encoding::Literal
                                              : TransferScripts::Encoding::Base64)
{
}

QString PieceTransfer::temporaryPath(const QString &path)
{
    const qsizetype start = path.lastIndexOf(u'/') + 1;
    QString name = path.sliced(start);
    if (const QByteArray utf8 = name.toUtf8(); utf8.size() > maxNameBytes)
        name = name.first(maxNameBytes / 4) + QString::number(FileDigest::crc32(utf8), 16);
    return path.first(start) + u'.' + name + QStringLiteral(".part");
}

Async<void> PieceTransfer::send(Source next, QString path, Target target)
{
    path = m_board.nativePath(path);
    const bool isBeside = target == Target::Beside && m_board.hasRename;
    const QString written = isBeside ? temporaryPath(path) : path;
    auto result = co_await sendPieces(std::move(next), written, path);
    if (result)
        result = co_await check(written);
    if (result && isBeside)
        result = co_await replace(written, path);
    if (result)
        m_fileState = FileState::New;
    // A link that was destroyed must not be used, and a file that was not opened is unchanged.
    const bool cleansUp = !result && result.error().code != ErrorCode::Closed
        && (isBeside ? m_leftover == Leftover::Part : m_fileState == FileState::Incomplete);
    if (cleansUp) {
        const QString code = TransferScripts::discard(written);
        const auto discarded = co_await execute(code); // the first error is the one to report
        if (discarded && isBeside)
            m_leftover = Leftover::None;
        else if (discarded)
            m_fileState = FileState::Missing;
    }
    co_return result;
}

Async<void> PieceTransfer::replace(QString temporary, QString path)
{
    auto replaced = co_await expectOk(TransferScripts::replace(temporary, path));
    if (replaced || replaced.error().code == ErrorCode::Closed) {
        m_leftover = Leftover::None;
        co_return replaced;
    }
    if (isUnsent(replaced.error()))
        co_return replaced;
    m_fileState = FileState::OldOrNew;
    m_leftover = Leftover::Whole;
    const auto settled = co_await execute(TransferScripts::settle(temporary, path));
    if (!settled)
        co_return replaced;
    m_leftover = Leftover::None;
    if (settled->contains(QLatin1String("__NEW__")))
        co_return Result<void>();
    m_fileState = FileState::Old;
    co_return replaced;
}

Async<void> PieceTransfer::sendPieces(Source next, QString path, QString target)
{
    auto opened = co_await expectOk(TransferScripts::openToWrite(path, target, m_board));
    if (opened || isEffectUnknown(opened.error())) {
        m_leftover = path == target ? Leftover::None : Leftover::Part;
        m_fileState = path == target ? FileState::Incomplete : FileState::Old;
    }
    if (!opened)
        co_return opened.error();
    while (true) {
        auto bytes = co_await next(m_pieceSize.bytes());
        if (!bytes)
            co_return bytes.error();
        if (bytes->isEmpty())
            break;
        // A piece that the board has no memory for is divided.
        for (qsizetype sent = 0; sent < bytes->size();) {
            if (m_observer.isCanceled())
                co_return canceledError();
            const QByteArray piece = bytes->mid(sent, m_pieceSize.bytes());
            QElapsedTimer timer;
            timer.start();
            const auto done = co_await sendPiece(piece, m_digest.length());
            if (!done && isOutOfMemory(done.error()) && m_pieceSize.shrink())
                continue;
            if (!done)
                co_return done.error();
            m_pieceSize.adapt(piece.size(), std::chrono::milliseconds(timer.elapsed()));
            m_digest.add(piece);
            sent += piece.size();
            m_observer.moved(m_digest.length());
        }
    }
    co_return co_await expectOk(TransferScripts::flush());
}

Async<void> PieceTransfer::sendPiece(QByteArray piece, qint64 offset)
{
    const QString code = TransferScripts::writePiece(piece, offset, m_board);
    for (int attempt = 1;; ++attempt) {
        auto sent = co_await expectOk(code);
        if (sent || !isLinkError(sent.error()))
            co_return sent;
        if (attempt == maxAttempts)
            co_return damagedError();
    }
}

Async<void> PieceTransfer::receive(QString path, Sink sink)
{
    path = m_board.nativePath(path);
    auto result = co_await receivePieces(path, std::move(sink));
    if (result)
        result = co_await check(path);
    if (!result)
        co_await closeAfter(result.error());
    co_return result;
}

/// Closes the file that the board has open after \p failure, if it can.
QCoro::Task<void> PieceTransfer::closeAfter(Error failure)
{
    if (failure.code == ErrorCode::Closed) // a link that was destroyed must not be used
        co_return;
    const QString code = TransferScripts::close();
    static_cast<void>(co_await execute(code)); // the first error is the one to report
}

Async<void> PieceTransfer::receivePieces(QString path, Sink sink)
{
    auto opened = co_await expectOk(TransferScripts::openToRead(path, m_board));
    if (!opened)
        co_return opened.error();
    while (true) {
        if (m_observer.isCanceled())
            co_return canceledError();
        QElapsedTimer timer;
        timer.start();
        auto piece = co_await receivePiece(m_digest.length());
        if (!piece && isOutOfMemory(piece.error()) && m_pieceSize.shrink())
            continue;
        if (!piece)
            co_return piece.error();
        if (piece->isEmpty())
            break;
        m_pieceSize.adapt(piece->size(), std::chrono::milliseconds(timer.elapsed()));
        m_encoding = TransferScripts::encodingFor(*piece, m_board);
        m_digest.add(*piece);
        auto taken = co_await sink(*piece);
        if (!taken)
            co_return taken.error();
        m_observer.moved(m_digest.length());
    }
    co_return co_await expectOk(TransferScripts::close());
}

Async<QByteArray> PieceTransfer::receivePiece(qint64 offset)
{
    const QString code = TransferScripts::readPiece(offset, m_pieceSize.bytes(), m_encoding);
    for (int attempt = 1;; ++attempt) {
        const auto output = co_await execute(code);
        if (!output && !isLinkError(output.error()))
            co_return output.error();
        if (output) {
            if (auto piece = TransferScripts::parsePiece(*output, m_board))
                co_return *std::move(piece);
        }
        if (attempt == maxAttempts)
            co_return damagedError();
    }
}

/// Compares the board's file at \p path with what was sent or received.
Async<void> PieceTransfer::check(QString path)
{
    for (int attempt = 1;; ++attempt) {
        auto onBoard = co_await readDigest(path);
        if (!onBoard && (!isLinkError(onBoard.error()) || attempt == maxAttempts))
            co_return onBoard.error();
        if (onBoard)
            co_return *onBoard == m_digest.hex() ? Result<void>() : damagedError();
    }
}

Async<QByteArray> PieceTransfer::digest(QString path)
{
    auto onBoard = co_await readDigest(path);
    if (!onBoard)
        co_await closeAfter(onBoard.error());
    co_return onBoard;
}

/// On failure the board may have the file open.
Async<QByteArray> PieceTransfer::readDigest(QString path)
{
    if (!m_board.hasSha256 && !m_board.hasCrc32()) {
        // The board can't compute one: read the file again.
        PieceTransfer secondReading(m_link, m_board,
                                    {.moved = [](qint64) {}, .isCanceled = m_observer.isCanceled});
        const Sink drop = [](QByteArray) -> Async<void> { co_return Result<void>(); };
        auto read = co_await secondReading.receivePieces(path, drop);
        if (!read)
            co_return read.error();
        co_return secondReading.m_digest.hex();
    }
    QString code = TransferScripts::hashFile(path, hashBlocks, m_board);
    while (true) {
        if (m_observer.isCanceled())
            co_return canceledError();
        const auto output = co_await execute(code);
        if (!output)
            co_return output.error();
        const auto state = TransferScripts::parseHash(*output);
        if (!state)
            co_return damagedError();
        code = TransferScripts::hashPiece(hashBlocks);
        if (!state->isAtEnd)
            continue;
        auto closed = co_await expectOk(TransferScripts::close());
        if (!closed)
            co_return closed.error();
        co_return state->digest;
    }
}

Async<QString> PieceTransfer::execute(QString code)
{
    if (m_connection != m_link.connectionNumber())
        co_return DeviceError::connectionLost();
    co_return co_await m_link.executeInSequence(std::move(code), pieceTimeout);
}

Async<void> PieceTransfer::expectOk(QString code)
{
    const auto output = co_await execute(std::move(code));
    if (!output)
        co_return output.error();
    if (!output->contains(QLatin1String("__OK__")))
        co_return damagedError();
    co_return Result<void>();
}

} // namespace Korvane
