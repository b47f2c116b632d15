#include "document/PythonTextStorage.h"
#include "theme/Theme.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// Random text made of pieces that change the colors of the text after them.
QString pieces(QRandomGenerator &random, int count)
{
    static const auto list =
        u"\" ' \"\"\" \"\"\" ''' \\ # @ def class if 1 0x .5 e+ \n \n \u3000 a é 🐍"_s.split(u' ');
    QString text;
    while (count-- > 0)
        text += list[random.bounded(list.size())];
    return text;
}

void showAll(PythonTextStorage &storage)
{
    storage.showColors(storage.firstBlock(), storage.blockCount());
}

/// Where the tokens or formats differ from those of PythonColoring; empty when they are equal.
QString wrongColor(PythonTextStorage &storage)
{
    std::vector<PythonToken> tokens;
    PythonColoring::color(storage.text(), tokens);
    const Theme &colors = Theme::light();
    for (QTextBlock block = storage.firstBlock(); block.isValid(); block = block.next()) {
        QList<QColor> painted(block.length() - 1,
                              colors.color(PythonColoring::role(PythonToken::Plain)));
        for (const QTextLayout::FormatRange &range : block.layout()->formats())
            std::fill_n(painted.begin() + range.start, range.length,
                        range.format.foreground().color());
        for (int i = 0; i < painted.size(); ++i) {
            const int position = block.position() + i;
            const PythonToken token = tokens[static_cast<size_t>(position)];
            if (storage.tokenAt(position) != token)
                return u"token at %1"_s.arg(position);
            if (painted[i] != colors.color(PythonColoring::role(token)))
                return u"format at %1"_s.arg(position);
        }
    }
    return {};
}

} // namespace

class tst_PythonTextStorage final : public QObject
{
    Q_OBJECT

private slots:
    void followsRandomEditsUndoneAndRedone()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        for (int round = 0; round < 12; ++round) {
            PythonTextStorage storage(Theme::light());
            QSignalSpy edited(&storage, &PythonTextStorage::edited);
            const QString text = pieces(random, 400);
            storage.setText(text);
            QCOMPARE(storage.text(), text);
            QVERIFY(edited.isEmpty() && !storage.isUndoAvailable());
            for (int step = 0; step < 80; ++step) {
                const int kind = random.bounded(8);
                QTextCursor caret(&storage);
                if (kind == 0)
                    storage.undo();
                else if (kind == 1)
                    storage.redo();
                caret.beginEditBlock();
                for (int edits = kind < 2 ? 0 : kind == 2 ? 3 : 1; edits > 0; --edits) {
                    const int last = storage.characterCount() - 1;
                    caret.setPosition(random.bounded(last + 1));
                    caret.setPosition(std::min(last, caret.position() + random.bounded(20)),
                                      random.bounded(4) ? QTextCursor::MoveAnchor
                                                        : QTextCursor::KeepAnchor);
                    caret.insertText(pieces(random, random.bounded(4)));
                    showAll(storage); // during an edit block
                }
                caret.endEditBlock();
                QCOMPARE(storage.text(),
                         storage.toRawText().replace(QChar::ParagraphSeparator, u'\n'));
                showAll(storage);
                QCOMPARE(wrongColor(storage), QString());
            }
        }
    }

    void colorsAreNoEdits()
    {
        PythonTextStorage storage(Theme::light());
        storage.setText(u"if x:\n    pass\n"_s);
        QSignalSpy changes(&storage, &QTextDocument::contentsChange);
        QSignalSpy undo(&storage, &QTextDocument::undoCommandAdded);
        showAll(storage);
        storage.setColors(Theme::dark());
        showAll(storage);
        QCOMPARE(storage.firstBlock().layout()->formats().first().format.foreground().color(),
                 Theme::dark().color(PythonColoring::role(PythonToken::Keyword)));
        QVERIFY(changes.isEmpty());
        QVERIFY(undo.isEmpty());
        QVERIFY(!storage.isModified());

        QTextCursor(&storage).insertText(u"#"_s); // one change of its own size
        showAll(storage);
        QCOMPARE(changes.takeFirst(), (QVariantList{0, 0, 1}));
        QTextCursor(&storage).insertText(u"#"_s);
        QCOMPARE(changes.takeFirst(), (QVariantList{0, 0, 1}));
    }

    void leavesVeryLongLinesPlain()
    {
        PythonTextStorage storage(Theme::light());
        storage.setText(QString(PythonTextStorage::longestColoredLine, u'1') + u"\nif"_s);
        showAll(storage);
        QCOMPARE(storage.firstBlock().layout()->formats().size(), 1);
        QTextCursor(&storage).insertText(u"1"_s);
        showAll(storage);
        QCOMPARE(storage.firstBlock().layout()->formats().size(), 0);
        QCOMPARE(storage.lastBlock().layout()->formats().size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_PythonTextStorage)
#include "tst_PythonTextStorage.moc"
