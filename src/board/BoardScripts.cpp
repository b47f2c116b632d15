#include "board/BoardScripts.h"

#include "base/PythonResource.h"

#include <algorithm>
#include <array>

namespace Korvane::BoardScripts {

namespace {

/// Base64 characters in one line: bounds the memory that a line and its decoded bytes take.
constexpr qsizetype pieceLength = 1024;

QString script(const char *name)
{
    return pythonResource(
        QLatin1StringView(QByteArray("board/scripts/").append(name).append(".py")));
}

struct Replacement
{
    QLatin1StringView placeholder;
    QString text;
};

/// Replaces each placeholder by its text in one pass. Inserted text is not searched, since a path
/// may contain the text of a placeholder.
template <std::size_t count>
QString fill(QStringView pattern, const std::array<Replacement, count> &replacements)
{
    QString filled;
    while (true) {
        qsizetype first = pattern.size();
        const Replacement *found = nullptr;
        for (const Replacement &replacement : replacements) {
            const qsizetype at = pattern.indexOf(replacement.placeholder);
            if (at >= 0 && at < first) {
                first = at;
                found = &replacement;
            }
        }
        filled += pattern.first(first);
        if (!found)
            return filled;
        filled += found->text;
        pattern = pattern.sliced(first + found->placeholder.size());
    }
}

QString fillPath(const char *name, const QString &path)
{
    return fill(script(name),
                std::array{Replacement{QLatin1StringView("QPATH"), pathLiteral(path)}});
}

} // namespace

QString pathLiteral(const QString &path)
{
    QString literal(u'\'');
    for (const QChar character : path) {
        if (character == u'\\' || character == u'\'')
            literal += u'\\';
        if (character < u' ' || character == u'\x7f')
            literal += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            literal += character;
    }
    return literal + u'\'';
}

std::optional<QString> textAfter(const QString &output, QLatin1StringView marker)
{
    const qsizetype at = output.indexOf(marker);
    return at < 0 ? std::nullopt : std::optional(output.mid(at + marker.size()));
}

QString list()
{
    return script("list");
}

QString listPlain(const BoardCapabilities &board)
{
    // Without os.stat, a folder is what can be listed.
    const char *entry = board.hasStatOfPaths() ? "s=os.stat(q)\n return s[0]&0x4000,s[6]"
        : board.isFlat && board.hasSize        ? "return 0,os.size(q[1:])"
        : board.isFlat && board.hasStat        ? "return 0,os.stat(q[1:])[6]"
        : board.isFlat                         ? "return 0,0"
                       : "try:\n  os.listdir(q)\n except OSError:\n  return 0,0\n return 1,0";
    return script("list-plain")
        .arg(QLatin1StringView(entry),
             board.isFlat ? QStringLiteral("os.listdir()") : QStringLiteral("os.listdir(p)"));
}

QString read(const QString &path)
{
    return fillPath("read", path);
}

QString exists(const QString &path)
{
    return fillPath("exists", path);
}

QString existsPlain(const QString &path)
{
    return script("exists-plain").arg(pathLiteral(path));
}

QString write(const QString &path, const QByteArray &bytes)
{
    // The first and the last line frame the three that write one piece.
    const QString whole = script("write");
    const qsizetype bodyStart = whole.indexOf(u'\n') + 1;
    const qsizetype bodyEnd = whole.lastIndexOf(u'\n') + 1;
    const QStringView body = QStringView(whole).sliced(bodyStart, bodyEnd - bodyStart);

    const QString base64 = QString::fromLatin1(bytes.toBase64());
    const QString literal = pathLiteral(path);
    const qsizetype pieces =
        std::max<qsizetype>(1, (base64.size() + pieceLength - 1) / pieceLength);
    QString filled = whole.first(bodyStart);
    filled.reserve(base64.size() + pieces * (body.size() + literal.size()) + whole.size());
    for (qsizetype piece = 0; piece < pieces; ++piece) {
        filled +=
            fill(body,
                 std::array{
                     Replacement{QLatin1StringView("QPATH"), literal},
                     Replacement{QLatin1StringView("MODE"),
                                 piece == 0 ? QStringLiteral("'wb'") : QStringLiteral("'ab'")},
                     Replacement{QLatin1StringView("PIECE"),
                                 base64.mid(piece * pieceLength, pieceLength)},
                 });
    }
    return filled.append(QStringView(whole).sliced(bodyEnd));
}

QString identity()
{
    return script("identity");
}

QString freeHeap()
{
    return script("free-heap");
}

QString remove(const QString &path, NodeKind kind)
{
    return fill(script("delete"),
                std::array{
                    Replacement{QLatin1StringView("FN"),
                                kind == NodeKind::Folder ? QStringLiteral("os.rmdir")
                                                         : QStringLiteral("os.remove")},
                    Replacement{QLatin1StringView("QPATH"), pathLiteral(path)},
                });
}

QString makeFolders(const QStringList &paths)
{
    const QString whole = script("make-folders");
    const qsizetype callStart = whole.indexOf(QLatin1StringView("_mk(QPATH)"));
    const qsizetype callEnd = whole.indexOf(u'\n', callStart) + 1;
    const QStringView call = QStringView(whole).sliced(callStart, callEnd - callStart);
    QString filled = whole.first(callStart);
    for (const QString &path : paths)
        filled +=
            fill(call, std::array{Replacement{QLatin1StringView("QPATH"), pathLiteral(path)}});
    return filled.append(QStringView(whole).sliced(callEnd));
}

} // namespace Korvane::BoardScripts
