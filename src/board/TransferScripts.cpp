#include "board/TransferScripts.h"

#include "base/PythonResource.h"
#include "board/BoardScripts.h"
#include "board/FileDigest.h"
#include "board/PythonLiteral.h"

#include <QStringList>

namespace Korvane::TransferScripts {

namespace {

using namespace Qt::StringLiterals;
using BoardScripts::pathLiteral;

QString script(QLatin1StringView name)
{
    const QByteArray path =
        "board/scripts/transfer/" + QByteArray(name.data(), name.size()) + ".py";
    return pythonResource(QLatin1StringView(path));
}

/// What follows the first \p marker, split at spaces into \p count fields at most; the last field
/// holds the rest.
std::optional<QStringList> fieldsAfter(const QString &output, QLatin1StringView marker, int count)
{
    const auto answer = BoardScripts::textAfter(output, marker);
    if (!answer)
        return std::nullopt;
    QStringView rest(*answer);
    while (rest.endsWith(u'\n') || rest.endsWith(u'\r'))
        rest.chop(1);
    QStringList fields;
    while (fields.size() < count - 1) {
        const qsizetype space = rest.indexOf(u' ');
        if (space < 0)
            return std::nullopt;
        fields << rest.first(space).toString();
        rest = rest.sliced(space + 1);
    }
    fields << rest.toString();
    return fields;
}

QString importing(const QString &name, const QString &module, const QString &alias)
{
    return u"from "_s + module + u" import "_s + name + u" as "_s + alias;
}

/// Imports what the pieces of a transfer need: the coder of base64 under the name `_ka` and CRC-32
/// under `_kc`.
QString imports(const QString &base64Function, const BoardCapabilities &board)
{
    QStringList lines;
    if (!board.base64Module.isEmpty())
        lines << importing(base64Function, board.base64Module, u"_ka"_s);
    if (board.hasCrc32())
        lines << importing(u"crc32"_s, board.crc32Module, u"_kc"_s);
    return lines.isEmpty() ? u"pass"_s : lines.join(u'\n');
}

} // namespace

QString capabilities()
{
    return script("capabilities"_L1);
}

QString openToWrite(const QString &path, const QString &target, const BoardCapabilities &board)
{
    return script("open-to-write"_L1)
        .arg(pathLiteral(path), imports(u"a2b_base64"_s, board), pathLiteral(target),
             board.hasCrc32() ? u" or _kc(d)!=c"_s : QString());
}

QString writePiece(QByteArrayView piece, qint64 offset, const BoardCapabilities &board)
{
    const QString data = encodingFor(piece, board) == Encoding::Literal
        ? QString::fromLatin1(PythonLiteral::fromBytes(piece))
        : u"_ka('"_s + QString::fromLatin1(piece.toByteArray().toBase64()) + u"')"_s;
    const quint32 crc = board.hasCrc32() ? FileDigest::crc32(piece) : 0;
    return u"_kw(%1,%2,%3,%4)"_s.arg(QString::number(offset), QString::number(piece.size()),
                                     QString::number(crc), data);
}

QString openToRead(const QString &path, const BoardCapabilities &board)
{
    const QString encoded =
        board.base64Module.isEmpty() ? u"repr(p)"_s : u"repr(p) if r else _ka(p).decode()"_s;
    return script("open-to-read"_L1)
        .arg(pathLiteral(path), imports(u"b2a_base64"_s, board),
             board.hasCrc32() ? u"_kc(p)"_s : u"0"_s, encoded);
}

QString readPiece(qint64 offset, qsizetype maxBytes, Encoding encoding)
{
    return u"_kr(%1,%2,%3)"_s.arg(QString::number(offset), QString::number(maxBytes),
                                  encoding == Encoding::Literal ? u"1"_s : u"0"_s);
}

Encoding encodingFor(QByteArrayView bytes, const BoardCapabilities &board)
{
    const qsizetype base64Length = (bytes.size() + 2) / 3 * 4 + 6;
    return board.base64Module.isEmpty() || PythonLiteral::fromBytes(bytes).size() <= base64Length
        ? Encoding::Literal
        : Encoding::Base64;
}

std::optional<QByteArray> parsePiece(const QString &output, const BoardCapabilities &board)
{
    const auto fields = fieldsAfter(output, "__PIECE__"_L1, 3);
    if (!fields)
        return std::nullopt;
    const QByteArray encoded = fields->at(2).toUtf8();
    std::optional<QByteArray> bytes;
    if (encoded.startsWith("b'") || encoded.startsWith("b\"")) {
        bytes = PythonLiteral::toBytes(encoded);
    } else if (auto decoded = QByteArray::fromBase64Encoding(
                   encoded, QByteArray::AbortOnBase64DecodingErrors)) {
        bytes = *std::move(decoded);
    }
    if (!bytes || bytes->size() != fields->at(0).toLongLong())
        return std::nullopt;
    if (board.hasCrc32() && FileDigest::crc32(*bytes) != fields->at(1).toULongLong())
        return std::nullopt;
    return bytes;
}

QString hashFile(const QString &path, int blocks, const BoardCapabilities &board)
{
    const QString start = board.hasSha256
        ? importing(u"sha256"_s, u"hashlib"_s, u"_kh"_s) + u"\n_kh=_kh()"_s
        : importing(u"crc32"_s, board.crc32Module, u"_kc"_s) + u"\n_kh=0"_s;
    const QString block = u"_kd if b==512 else _kd[:b]"_s;
    const QString add =
        board.hasSha256 ? u"_kh.update("_s + block + u')' : u"_kh=_kc("_s + block + u",_kh)"_s;
    // MicroPython's digest() ends the computation, so it is called at the end of the file only.
    const QString digest = board.hasSha256
        ? u"'' if b else ''.join('%02x'%x for x in _kh.digest())"_s
        : u"'%08x'%_kh"_s;
    return script("hash"_L1).arg(pathLiteral(path), start, add, digest, QString::number(blocks));
}

QString hashPiece(int blocks)
{
    return u"_kx(%1)"_s.arg(blocks);
}

QString hashFiles(const QStringList &paths, const BoardCapabilities &board)
{
    const QString block = u"d if b==512 else d[:b]"_s;
    QString literals;
    for (const QString &path : paths)
        literals += pathLiteral(path) + u',';
    if (board.hasSha256) {
        return script("hash-files"_L1)
            .arg(importing(u"sha256"_s, u"hashlib"_s, u"_kh"_s), u"_kh()"_s,
                 u"h.update("_s + block + u')', u"''.join('%02x'%x for x in h.digest())"_s,
                 literals);
    }
    return script("hash-files"_L1)
        .arg(importing(u"crc32"_s, board.crc32Module, u"_kc"_s), u"0"_s,
             u"h=_kc("_s + block + u",h)"_s, u"'%08x'%h"_s, literals);
}

std::optional<HashState> parseHash(const QString &output)
{
    const auto fields = fieldsAfter(output, "__HASH__"_L1, 2);
    if (!fields)
        return std::nullopt;
    const QStringList rest = fields->at(1).split(u' ');
    return HashState{fields->at(0).toLongLong(), rest.at(0) == u"1", rest.value(1).toLatin1()};
}

QString flush()
{
    return u"_kf.close()\nprint('__OK__')"_s;
}

QString close()
{
    return script("close"_L1);
}

QString discard(const QString &path)
{
    return script("discard"_L1).arg(pathLiteral(path));
}

QString replace(const QString &from, const QString &to)
{
    return script("replace"_L1).arg(pathLiteral(from), pathLiteral(to));
}

QString settle(const QString &from, const QString &to)
{
    return script("settle"_L1).arg(pathLiteral(from), pathLiteral(to));
}

} // namespace Korvane::TransferScripts
