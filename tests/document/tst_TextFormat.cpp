#include "document/EditorFile.h"
#include "document/LineCommands.h"
#include "document/PythonTextStorage.h"
#include "document/TextSearch.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextBlock>

#include <algorithm>
#include <functional>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextFormat final : public QObject
{
    Q_OBJECT

private slots:
    void restoresLineEndsAndByteOrderMarks()
    {
        const QList<std::pair<QString, QString>> cases{
            {u"\uFEFF"_s, u""_s},
            {u"a\r\nb"_s, u"a\nb"_s},
            {u"\uFEFF\uFEFFa\r\n"_s, u"\uFEFFa\n"_s},
            {u"a\rb\r"_s, u"a\nb\n"_s},
            {u"a\r\nb\nc\rd\r\r\n\n"_s, u"a\nb\nc\nd\n\n\n"_s},
            // What Qt takes for line ends, and what it does not.
            {u"a\u2029b\xFDD0"
             "c\xFDD1"
             "d\n"_s,
             u"a\nb\nc\nd\n"_s},
            {u"a\u2028b\u0085\f\0e\n"_s, u"a\u2028b\u0085\f\0e\n"_s},
        };
        for (const auto &[fileText, shown] : cases) {
            TextFormat format;
            QCOMPARE(format.detach(fileText), shown);
            QCOMPARE(format.attach(shown), fileText);
        }
    }

    void keepsTheLineEndsThatAnEditDidNotTouch()
    {
        const QList<QStringList> cases{
            // file, text after the edit, file when that is saved
            {u"a\r\nb\r\n"_s, u"a\nx\ny\nb\n"_s, u"a\r\nx\r\ny\r\nb\r\n"_s},
            {u"a\r\nb\r\nc\nd\n\r\n"_s, u"a\nb\nnew\nc\nd\n\n"_s, u"a\r\nb\r\nnew\r\nc\nd\n\r\n"_s},
            {u"a\r\nb\nc\r\nd\n"_s, u"a\nd\n"_s, u"a\r\nd\n"_s},
            {u"a\nb\r\nc\rd\r\n"_s, u"a\nbc\nd\n"_s, u"a\nbc\rd\r\n"_s}, // lines joined
            {u"a\rb\nc"_s, u"a\n\nc"_s, u"a\r\n\nc"_s}, // else read as one line end
            {u"a\nb\r\nc\r\n"_s, u"x\ny\n"_s, u"x\r\ny\r\n"_s},
        };
        for (const QStringList &row : cases) {
            EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(row[0]));
            file.setContent(row[1]);
            QCOMPARE(file.text().fileText(), row[2]);
            file.storage().undo();
            QCOMPARE(file.text().fileText(), row[0]);
        }
    }

    /// Edits in pieces of long lines change the same text of the file, also undone and redone.
    void editsPiecesOfLongLines()
    {
        const QString fileText = u"a\r\n"_s + QString(10'001, u'b') + u"\nc\n"_s
            + QString(9'999, u'd') + u"\U0001F600"_s + QString(15'000, u'e');
        EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(fileText));
        QCOMPARE(file.longLines().continued(), (QList<int>{3, 6, 7}));
        QCOMPARE(file.text().fileText(), fileText);
        QCOMPARE(file.longLines().fileLine(7), 4);
        QCOMPARE(file.longLines().shownLine(4), 5);
        file.toggleBreakpoint(4);

        QRandomGenerator random(11);
        QHash<int, QString> states{{0, file.content()}}; // by undo steps
        const QStringList inserted{u""_s, u"\n"_s, u"x"_s, QString(10'500, u'y'), u"\n\nz\n"_s};
        for (int i = 0; i < 60; ++i) {
            const QList<int> breaks = file.longLines().continued() + QList<int>{1};
            const QTextBlock block =
                file.storage().findBlockByNumber(breaks[random.bounded(breaks.size())] - 1);
            const int end = static_cast<int>(file.storage().text().size());
            const auto place = [&](int position) { return std::clamp(position, 0, end); };
            QTextCursor cursor(&file.storage());
            cursor.setPosition(place(block.position() + random.bounded(-2, 3)));
            if (random.bounded(2) > 0)
                cursor.setPosition(place(cursor.position() + random.bounded(1, 12'000)),
                                   QTextCursor::KeepAnchor);
            const QString text = inserted[random.bounded(inserted.size())];
            const QString expected = file.content(0, cursor.selectionStart()) + text
                + file.content(cursor.selectionEnd(), end);
            file.insertText(cursor, text);
            QCOMPARE(file.content(), expected);
            QCOMPARE(file.text().fileText().count(u'\n'), expected.count(u'\n'));
            states[file.storage().availableUndoSteps()] = expected;
        }
        const QString last = file.content();
        while (file.storage().isUndoAvailable()) {
            file.storage().undo();
            QCOMPARE(file.content(), states.value(file.storage().availableUndoSteps()));
        }
        QCOMPARE(file.text().fileText(), fileText);
        QVERIFY(!file.isModified() && file.breakpoints() == QSet<int>{4});
        while (file.storage().isRedoAvailable())
            file.storage().redo();
        QCOMPARE(file.content(), last);
    }

    void changesWholeLinesInPieces()
    {
        const QString longLine(25'000, u'b');
        const QString text = u"a\n"_s + longLine + u"\nc"_s;
        const TextSelection inLastPiece{20'010, 20'010};
        const auto lines = [&](std::optional<TextEdit> (LineCommands::*edit)() const) {
            return [edit, inLastPiece](const QString &marked) {
                return *(LineCommands(marked, inLastPiece).*edit)();
            };
        };
        const auto replace = [](const QString &query, const QString &replacement) {
            return [=](const QString &marked) {
                TextSearch search{query};
                search.isRegularExpression = true;
                const int end = static_cast<int>(marked.size());
                return **search.replace(marked, 0, end, replacement);
            };
        };
        const QList<std::pair<std::function<TextEdit(const QString &)>, QString>> cases{
            {lines(&LineCommands::indent), u"a\n    "_s + longLine + u"\nc"_s},
            {lines(&LineCommands::moveUp), longLine + u"\na\nc"_s},
            {lines(&LineCommands::duplicate), u"a\n"_s + longLine + u'\n' + longLine + u"\nc"_s},
            {lines(&LineCommands::join), u"a\n"_s + longLine + u" c"_s},
            {replace(u"[ac]"_s, u"x\\ny"_s), u"x\ny\n"_s + longLine + u"\nx\ny"_s},
            {replace(u"a\\n(b+)"_s, u"$1"_s), longLine + u"\nc"_s},
        };
        for (const auto &[edit, expected] : cases) {
            EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(text));
            const QString marked = file.textWithPieceEnds();
            const TextEdit change = edit(marked);
            const TextSelection selection = file.apply(change);
            QCOMPARE(file.content(), expected);
            QString beforeCaret = marked.first(change.start) + change.replacement;
            beforeCaret += marked.sliced(change.end);
            beforeCaret.truncate(change.selection.position);
            QCOMPARE(file.content(0, selection.position), beforeCaret.remove(LongLines::pieceEnd));
            file.storage().undo();
            QCOMPARE(file.content(), text);
        }
    }
};

QTEST_GUILESS_MAIN(tst_TextFormat)
#include "tst_TextFormat.moc"
