#include "document/EditorFile.h"
#include "document/PythonTextStorage.h"
#include "editor/CodeEditorView.h"
#include "editor/LineNumberRulerView.h"
#include "editor/PythonTextLayout.h"
#include "theme/Theme.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A text of numbered lines.
QString numbered(int lineCount)
{
    QString text;
    for (int line = 1; line <= lineCount; ++line)
        text += u"line_%1 = 'text'\n"_s.arg(line);
    return text;
}

/// The editor on the screen, with the focus.
struct EditorFixture
{
    explicit EditorFixture(const QString &text = {})
        : file(u"f.py"_s, {}, DocumentText{text})
    {
        editor.resize(400, 300);
        editor.showDocument(&file);
        editor.show();
        editor.activateWindow();
        if (!QTest::qWaitForWindowActive(&editor))
            qFatal("the editor never became active");
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(editor.windowHandle(), key, modifiers);
    }
    void type(const QString &text) { QTest::keyClicks(QApplication::focusWidget(), text); }
    void putCaret(int position, int anchor = -1)
    {
        QTextCursor caret = editor.textCursor();
        caret.setPosition(anchor < 0 ? position : anchor);
        caret.setPosition(position, QTextCursor::KeepAnchor);
        editor.setTextCursor(caret);
    }
    int caret() { return editor.textCursor().position(); }
    template <typename T> T *find(const char *name)
    {
        return editor.findChild<T *>(QString::fromLatin1(name));
    }
    LineNumberRulerView *gutter() { return find<LineNumberRulerView>("gutter"); }
    bool shows(int line)
    {
        for (const CodeEditorView::LineRows &rows : editor.visibleLines()) {
            if (rows.line == line)
                return rows.top >= 0 && rows.top + rows.height <= editor.viewport()->height();
        }
        return false;
    }
    /// The color of the gutter at that x, in the middle of the line's first row.
    QColor pixel(double x, int line)
    {
        const QImage image = gutter()->grab().toImage();
        const CodeEditorView::LineRows rows = editor.visibleLines().at(line - 1);
        const double ratio = image.devicePixelRatio();
        return image.pixelColor(int(x * ratio), int((rows.top + rows.firstRowHeight / 2) * ratio));
    }
    QString found() { return find<QLabel>("findCount")->text(); }

    EditorFile file;
    CodeEditorView editor;
};

} // namespace

class tst_CodeEditorView final : public QObject
{
    Q_OBJECT

private slots:
    void typesBlanksForTabs()
    {
        EditorFixture fixture(u"abc\n"_s);
        fixture.press(Qt::Key_Tab);
        fixture.putCaret(6, 4);
        fixture.press(Qt::Key_Tab);
        QCOMPARE(fixture.editor.text(), u"        c\n"_s);
        fixture.press(Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(fixture.editor.text(), u"        \n        c\n"_s);
        fixture.editor.setIndentWidth(2);
        const QTextOption option = fixture.editor.document()->defaultTextOption();
        QCOMPARE(option.tabStopDistance(),
                 2 * QFontMetricsF(fixture.editor.font()).horizontalAdvance(u' '));
        QCOMPARE(option.textDirection(), Qt::LeftToRight);
    }

    void editsLinesInOneStepEach()
    {
        const QString before = u"if a:  \n    (b)\nc\nd"_s;
        EditorFixture fixture(before);
        fixture.file.toggleBreakpoint(2);
        fixture.file.toggleBreakpoint(3);
        using Lines = QSet<int>;
        for (const auto &[caret, keys, after, breakpoints] :
             {std::tuple(5, QKeyCombination(Qt::Key_Return), u"if a:\n    \n    (b)\nc\nd"_s,
                         Lines{3, 4}),
              {12, Qt::Key_Backspace, u"if a:  \n(b)\nc\nd"_s, {2, 3}},
              {14, Qt::SHIFT | Qt::Key_Backtab, u"if a:  \n(b)\nc\nd"_s, {2, 3}},
              {16, Qt::CTRL | Qt::Key_BracketRight, u"if a:  \n    (b)\n    c\nd"_s, {2, 3}},
              {0, Qt::ALT | Qt::Key_Down, u"    (b)\nif a:  \nc\nd"_s, {1, 3}},
              {18, Qt::ALT | Qt::Key_Up, u"if a:  \n    (b)\nd\nc"_s, {2, 4}}}) {
            fixture.putCaret(caret);
            fixture.press(keys.key(), keys.keyboardModifiers());
            QCOMPARE(fixture.editor.text(), after);
            QCOMPARE(fixture.file.breakpoints(), breakpoints);
            fixture.press(Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(fixture.editor.text(), before);
            QCOMPARE(fixture.file.breakpoints(), (Lines{2, 3}));
        }
        fixture.press(Qt::Key_F, Qt::ControlModifier); // the field keeps these keys
        fixture.press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(fixture.editor.text(), before);
    }

    void copiesAndPastesExactly()
    {
        const QString odd = u"a\u00A0\u2028b\tשלום\ne\u0301🐍"_s;
        EditorFixture fixture(odd);
        fixture.press(Qt::Key_A, Qt::ControlModifier);
        fixture.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), odd);
        fixture.press(Qt::Key_End, Qt::ControlModifier);
        fixture.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(fixture.editor.text(), odd + odd);
        fixture.press(Qt::Key_A, Qt::ControlModifier);
        QApplication::clipboard()->setImage(QImage(1, 1, QImage::Format_RGB32));
        fixture.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(fixture.editor.text(), odd + odd);
        QApplication::clipboard()->setText(u"x\r\ny"_s);
        fixture.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(fixture.editor.text(), u"x\ny"_s);
    }

    void keepsEachDocumentToItself()
    {
        EditorFixture fixture(numbered(200));
        const auto undo = [&](Qt::KeyboardModifiers modifiers = {}) {
            fixture.press(Qt::Key_Z, Qt::ControlModifier | modifiers);
            return fixture.editor.text();
        };
        fixture.press(Qt::Key_End, Qt::ControlModifier);
        fixture.type(u"first"_s);
        const QString first = fixture.editor.text();
        const int firstCaret = fixture.caret();
        const int firstScroll = fixture.editor.verticalScrollBar()->value();

        auto other =
            std::make_unique<EditorFile>(u"o.py"_s, DocumentPlace(), DocumentText{u"short"_s});
        fixture.editor.showDocument(other.get());
        QCOMPARE(fixture.caret(), 5); // the caret keeps its offset, limited to the text
        QCOMPARE(undo(), u"short"_s);
        QVERIFY(!other->isModified()); // being shown is no edit
        fixture.press(Qt::Key_Home);
        fixture.type(u"a "_s);

        fixture.editor.showDocument(&fixture.file);
        QCOMPARE(fixture.editor.text(), first);
        QCOMPARE(fixture.caret(), firstCaret);
        QCOMPARE(fixture.editor.verticalScrollBar()->value(), firstScroll);
        QCOMPARE(undo(), numbered(200));
        QCOMPARE(undo(), numbered(200));
        fixture.editor.showDocument(other.get());
        QCOMPARE(fixture.caret(), 2);
        QCOMPARE(undo(), u"short"_s);
        QCOMPARE(undo(Qt::ShiftModifier), u"a short"_s);

        // Replacing the text moves the caret only if it is too short, and can be undone.
        fixture.putCaret(7, 5);
        other->setContent(u"another text"_s);
        QCOMPARE(fixture.caret(), 5);
        QVERIFY(!fixture.editor.textCursor().hasSelection());
        other->setContent(u"abc"_s);
        QCOMPARE(fixture.caret(), 3);
        QCOMPARE(undo(), u"another text"_s);
        other.reset(); // closed while it is shown
        QCOMPARE(fixture.editor.text(), QString());
        fixture.editor.showDocument(&fixture.file);
        QVERIFY(fixture.editor.document()->isRedoAvailable());
    }

    void showsThePausedLineOncePerPause()
    {
        EditorFixture fixture(numbered(50) + u"x = '%1'\n"_s.arg(QString(3000, u'x'))
                              + numbered(200));
        QScrollBar *scroll = fixture.editor.verticalScrollBar();
        fixture.file.setDebugLines({}, 120);
        QVERIFY(fixture.shows(120));
        QCOMPARE(fixture.caret(), 0);
        scroll->setValue(0);
        fixture.file.setDebugLines({}, 120);
        QCOMPARE(scroll->value(), 0);
        fixture.file.setDebugLines({}, std::nullopt);
        fixture.file.setDebugLines({}, 120);
        QVERIFY(fixture.shows(120));
        const int before = scroll->value();
        fixture.file.setDebugLines({}, 121); // in view already
        QCOMPARE(scroll->value(), before);
        fixture.file.setDebugLines({}, 3);
        QVERIFY(fixture.shows(3));
        scroll->setValue(100);
        fixture.file.setDebugLines({}, 10'000);
        QCOMPARE(scroll->value(), 0);
        scroll->setValue(100);
        fixture.file.setDebugLines({}, 252);
        QVERIFY(fixture.shows(252));
    }

    void drawsTheGutter()
    {
        EditorFixture fixture(u"a\nb\n"_s + QString(100, u'c') + u"\nd\ne\n"_s);
        QPalette palette = fixture.editor.palette();
        palette.setColor(QPalette::Base, Qt::black);
        palette.setColor(QPalette::Text, Qt::white);
        palette.setColor(QPalette::Window, Qt::darkGray);
        fixture.editor.setPalette(palette);
        const QColor background = palette.color(QPalette::Window);
        QCOMPARE(fixture.gutter()->geometry(),
                 QRect(0, 0, 44, fixture.editor.viewport()->height()));
        QCOMPARE(fixture.editor.viewport()->x(), 44);
        QCOMPARE(fixture.pixel(14, 1), background);
        QCOMPARE(fixture.pixel(43, 1), Theme::dark().color(Theme::Role::Separator));

        for (const int line : {1, 3})
            fixture.file.toggleBreakpoint(line);
        fixture.file.setDebugLines({3, 4}, 3);
        for (const int x : {11, 14, 17}) {
            QCOMPARE(fixture.pixel(x, 1), Theme::dark().color(Theme::Role::BreakpointMarker));
            QCOMPARE(fixture.pixel(x, 3), fixture.pixel(x, 1));
        }
        for (const auto &[x, line] : {std::pair(8, 1), {20, 1}, {14, 2}, {14, 4}})
            QCOMPARE(fixture.pixel(x, line), background);
        QVERIFY(fixture.pixel(9.5, 4) != background); // a ring
        // All rows of a wrapped line have the background of the pause, only the first its number.
        QCOMPARE(fixture.pixel(2, 4), background);
        const CodeEditorView::LineRows paused = fixture.editor.visibleLines().at(2);
        QVERIFY(paused.height > 1.9 * paused.firstRowHeight);
        const QImage image = fixture.gutter()->grab().toImage();
        for (int x = 0; x < 43; ++x)
            QCOMPARE(image.pixelColor(x, int(paused.top + 1.5 * paused.firstRowHeight)),
                     fixture.pixel(2, 3));
        QVERIFY(fixture.pixel(2, 3) != background);
    }

    void marksBrackets()
    {
        EditorFixture fixture(u"(a)\n\n("_s);
        /// The color of a bracket's border (x = 0) or inside it.
        const auto color = [&](int bracket, int x) {
            fixture.putCaret(bracket);
            const QPoint place(fixture.editor.cursorRect().left() + x,
                               fixture.editor.cursorRect().center().y());
            fixture.putCaret(bracket == 0 ? 3 : 6);
            return fixture.editor.viewport()->grab().toImage().pixelColor(place);
        };
        const Theme &theme = Theme::light();
        QCOMPARE(color(0, 0), theme.color(Theme::Role::Accent));
        QCOMPARE(color(0, 1), theme.color(Theme::Role::AccentTint));
        QCOMPARE(color(5, 0), theme.color(Theme::Role::Red));
        QCOMPARE(color(5, 1), theme.color(Theme::Role::CurrentLine));
    }

    void asksToToggleBreakpoints()
    {
        EditorFixture fixture(u"a\n"_s + QString(100, u'b') + u"\nc\n"_s);
        QSignalSpy toggled(&fixture.editor, &CodeEditorView::breakpointToggleRequested);
        const auto lineAt = [&](double x, double y, Qt::MouseButton button = Qt::LeftButton) {
            QTest::mouseClick(fixture.gutter(), button, {}, QPoint(int(x), int(y)));
            return toggled.isEmpty() ? 0 : toggled.takeFirst().first().toInt();
        };
        const QList<CodeEditorView::LineRows> lines = fixture.editor.visibleLines();
        QCOMPARE(lineAt(14, lines[0].top), 1);
        QCOMPARE(lineAt(0, lines[1].top - 1), 1);
        QCOMPARE(lineAt(43, lines[1].top), 2);
        QCOMPARE(lineAt(30, lines[2].top - 1), 2); // its last row
        QCOMPARE(lineAt(30, lines[2].top + 1), 3);
        QCOMPARE(lineAt(30, lines[3].top + lines[3].height + 1), 0);
        QCOMPARE(lineAt(30, lines[0].top, Qt::RightButton), 0);

        fixture.putCaret(50);
        fixture.press(Qt::Key_F9);
        QCOMPARE(toggled.takeFirst(), QVariantList{2});
    }

    void describesTheGutter()
    {
        EditorFixture fixture(u"a\n"_s);
        using Lines = QSet<int>;
        for (const auto &[breakpoints, active, paused, description] :
             {std::tuple{Lines{}, Lines{}, 0, "No breakpoints"},
              {Lines{5, 3}, Lines{}, 5, "Breakpoints on lines 3, 5; paused at line 5"},
              {Lines{3}, Lines{3, 9}, 0, "Breakpoint on line 3; still armed on line 9"}}) {
            fixture.file.clearBreakpoints();
            for (const int line : breakpoints)
                fixture.file.toggleBreakpoint(line);
            fixture.file.setDebugLines(active, paused ? std::optional(paused) : std::nullopt);
            QCOMPARE(fixture.gutter()->accessibleDescription(), QLatin1String(description));
        }
    }

    void growsTheGutterWithTheText()
    {
        EditorFixture fixture(numbered(98)); // and an empty one
        QCOMPARE(fixture.gutter()->width(), 44);
        fixture.press(Qt::Key_Return);
        QVERIFY(fixture.gutter()->width() > 44);
        QCOMPARE(fixture.editor.viewport()->x(), fixture.gutter()->width());
        fixture.press(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(fixture.gutter()->width(), 44);
    }

    void findsText()
    {
        EditorFixture fixture(u"Spam, spam\nspammer egg spam\n"_s + numbered(300) + u"SPAM\n"_s);
        const auto selection = [&] { return fixture.editor.textCursor().selectionStart(); };
        fixture.press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(fixture.find<QWidget>("findBar")->isVisible());
        fixture.type(u"spam"_s);
        QCOMPARE(fixture.found(), u"1 of 5"_s);
        QCOMPARE(fixture.editor.extraSelections().size(), 4); // those in view
        fixture.press(Qt::Key_Return);
        QCOMPARE(fixture.found(), u"2 of 5"_s);
        fixture.press(Qt::Key_F3);
        QCOMPARE(selection(), 11);
        fixture.press(Qt::Key_Return, Qt::ShiftModifier);
        fixture.press(Qt::Key_F3, Qt::ShiftModifier);
        fixture.press(Qt::Key_Return, Qt::ShiftModifier); // wraps around at the start
        QCOMPARE(fixture.found(), u"5 of 5"_s);
        QVERIFY(fixture.shows(303));
        QTest::mouseClick(fixture.find<QToolButton>("findNext"), Qt::LeftButton);
        QCOMPARE(fixture.found(), u"1 of 5"_s);

        fixture.find<QToolButton>("matchCase")->click();
        fixture.find<QToolButton>("wholeWords")->click();
        QCOMPARE(fixture.found(), u"1 of 2"_s);
        QCOMPARE(selection(), 6);
        fixture.type(u"!"_s);
        QCOMPARE(fixture.found(), u"Not found"_s);
        fixture.press(Qt::Key_Backspace);
        QCOMPARE(selection(), 6); // from where the search began

        fixture.press(Qt::Key_Escape);
        QVERIFY(fixture.find<QWidget>("findBar")->isHidden() && fixture.editor.hasFocus());
        QVERIFY(fixture.editor.extraSelections().isEmpty());
        QCOMPARE(fixture.editor.textCursor().selectedText(), u"spam"_s);
        fixture.press(Qt::Key_F3); // without the bar
        QCOMPARE(selection(), 23);
    }

    void replacesWhatIsFound()
    {
        const QString before = u"a1 a2\na3 b\nA4"_s;
        EditorFixture fixture(before);
        fixture.putCaret(10, 0);
        fixture.press(Qt::Key_H, Qt::ControlModifier);
        QVERIFY(
            fixture.find<QToolButton>("inSelection")->isChecked()); // several lines are selected
        fixture.find<QToolButton>("regularExpression")->click();
        fixture.type(u"(a)("_s);
        QCOMPARE(fixture.found(), u"Unmatched parenthesis (4)"_s);
        fixture.type(u"\\d)"_s);
        QCOMPARE(fixture.found(), u"1 of 3"_s);
        fixture.press(Qt::Key_Tab);
        fixture.type(u"\\2\\1"_s);
        fixture.press(Qt::Key_Return);
        QCOMPARE(fixture.editor.text(), u"1a a2\na3 b\nA4"_s);
        QCOMPARE(fixture.found(), u"1 of 2"_s);
        fixture.find<QToolButton>("inSelection")->click();
        fixture.find<QToolButton>("replaceAll")->click();
        QCOMPARE(fixture.editor.text(), u"1a 2a\n3a b\n4A"_s);
        QCOMPARE(fixture.found(), u"3 replaced"_s);
        fixture.editor.undo();
        QCOMPARE(fixture.editor.text(), u"1a a2\na3 b\nA4"_s);
        fixture.editor.undo();
        QCOMPARE(fixture.editor.text(), before);
        QTRY_COMPARE(fixture.found(), u"4 found"_s);
        // With another selection than that of the last search.
        for (const bool isClosed : {false, true}) {
            fixture.putCaret(10, 0);
            fixture.press(Qt::Key_H, Qt::ControlModifier);
            if (isClosed)
                fixture.press(Qt::Key_Escape);
            fixture.putCaret(13, isClosed ? 13 : 6);
            fixture.press(Qt::Key_H, Qt::ControlModifier);
            fixture.find<QToolButton>("replaceAll")->click();
            QCOMPARE(fixture.found(), isClosed ? u"4 replaced"_s : u"2 replaced"_s);
            fixture.editor.undo();
        }
        // The bar fits into a narrow editor.
        fixture.editor.resize(300, 300);
        const QRect room(QPoint(), fixture.find<QWidget>("findBar")->size());
        for (const QWidget *control : fixture.find<QWidget>("findBar")->findChildren<QWidget *>())
            QVERIFY(room.contains(QRect(control->mapTo(fixture.find<QWidget>("findBar"), QPoint()),
                                        control->size())));
    }

    void keepsCountWhileTheTextChanges()
    {
        EditorFixture fixture(u"one two one"_s);
        fixture.putCaret(3, 0);
        fixture.press(Qt::Key_F, Qt::ControlModifier); // for what is selected
        QCOMPARE(fixture.found(), u"1 of 2"_s);
        fixture.editor.setFocus();
        fixture.press(Qt::Key_End);
        fixture.type(u" one"_s);
        QTRY_COMPARE(fixture.found(), u"3 found"_s);
        fixture.press(Qt::Key_F3);
        QCOMPARE(fixture.found(), u"1 of 3"_s);
        fixture.putCaret(2, 0); // a part of it
        QTRY_COMPARE(fixture.found(), u"3 found"_s);
        EditorFile other(u"o.py"_s, {}, DocumentText{u"only one"_s});
        fixture.editor.showDocument(&other);
        QTRY_COMPARE(fixture.found(), u"1 found"_s);
        fixture.press(Qt::Key_Escape); // in the text as well
        QVERIFY(fixture.find<QWidget>("findBar")->isHidden());
    }

    void goesToALine()
    {
        EditorFixture fixture(numbered(300));
        for (const auto &[typed, line] : {std::pair{"250", 250}, std::pair{"0", 1},
                                          std::pair{"9999", 301}, std::pair{"x7", 7}}) {
            fixture.press(Qt::Key_G, Qt::ControlModifier);
            fixture.type(QString::fromLatin1(typed));
            fixture.press(Qt::Key_Return);
            QCOMPARE(fixture.editor.currentLine(), line);
            QVERIFY(fixture.shows(line) && fixture.editor.hasFocus());
        }
        fixture.press(Qt::Key_G, Qt::ControlModifier);
        fixture.press(Qt::Key_F, Qt::ControlModifier); // replaces the bar
        QVERIFY(fixture.find<QWidget>("goToLineBar")->isHidden());
        fixture.press(Qt::Key_Escape);
        QVERIFY(fixture.find<QWidget>("findBar")->isHidden() && fixture.editor.hasFocus());
    }

    void colorsWhatIsInView()
    {
        EditorFixture fixture(numbered(2000));
        const auto formats = [&](int line) {
            return fixture.editor.document()->findBlockByNumber(line - 1).layout()->formats();
        };
        fixture.editor.viewport()->repaint();
        QCOMPARE(formats(1).size(), 1);
        QCOMPARE(formats(1000).size(), 0);
        fixture.editor.verticalScrollBar()->setValue(999);
        fixture.editor.viewport()->repaint();
        QCOMPARE(formats(1000).size(), 1);
        QPalette dark = fixture.editor.palette();
        dark.setColor(QPalette::Base, Qt::black);
        dark.setColor(QPalette::Text, Qt::white);
        fixture.editor.setPalette(dark);
        QCOMPARE(formats(1000).first().format.foreground().color(),
                 Theme::dark().color(PythonColoring::role(PythonToken::String)));
    }

    void laysOutOnlyWhatChangedColor()
    {
        PythonTextStorage storage(Theme::light());
        PythonTextLayout::attachTo(storage);
        storage.setText(u"a\n'''b\nc = 1\nd\n'''\ne\n'''\n"_s + u"f = 'x'\n"_s.repeated(100));
        QAbstractTextDocumentLayout *layout = storage.documentLayout();
        storage.showColors(storage.firstBlock(), storage.blockCount());
        for (QTextBlock block = storage.firstBlock(); block.isValid(); block = block.next())
            layout->blockBoundingRect(block);
        connect(&storage, &PythonTextStorage::colored, &storage,
                [&] { storage.showColors(storage.firstBlock(), storage.blockCount()); });

        QSet<int> lines;
        connect(layout, &QAbstractTextDocumentLayout::updateBlock, &storage,
                [&](const QTextBlock &block) { lines << block.blockNumber() + 1; });
        QSignalSpy everything(layout, &QAbstractTextDocumentLayout::update);
        QTextCursor(&storage).insertText(u"if "_s);
        QCOMPARE(lines, QSet<int>{1});
        lines.clear();
        QTextCursor(storage.findBlockByNumber(3)).insertText(u"'''"_s); // swaps strings and code
        QCOMPARE(lines, (QSet<int>{4, 6, 7}));
        QVERIFY(everything.isEmpty());

        QTextCursor(&storage).insertText(u"\u2028"_s); // another row moves all rows below it
        QCOMPARE(everything.size(), 1);
    }

    // Text that an input method is composing is not an edit and keeps the colors.
    void letsInputMethodsCompose()
    {
        EditorFixture fixture(u"x = 'a' if"_s);
        fixture.putCaret(6);
        QTextCharFormat underlined;
        underlined.setFontUnderline(true);
        QInputMethodEvent composing(u"にほ"_s, {{QInputMethodEvent::TextFormat, 0, 2, underlined}});
        QApplication::sendEvent(&fixture.editor, &composing);
        QVERIFY(!fixture.file.isModified());
        QCOMPARE(fixture.editor.text(), u"x = 'a' if"_s);
        QStringList ranges;
        for (const auto &range : fixture.editor.document()->firstBlock().layout()->formats())
            ranges << u"%1+%2%3"_s.arg(range.start)
                          .arg(range.length)
                          .arg(range.format.fontUnderline() ? u"u"_s : QString());
        QCOMPARE(ranges.join(u' '), u"4+2 8+1 10+2 6+2u"_s);
        QInputMethodEvent committed;
        committed.setCommitString(u"日本"_s);
        QApplication::sendEvent(&fixture.editor, &committed);
        QCOMPARE(fixture.file.content(), u"x = 'a日本' if"_s);
        QCOMPARE(fixture.editor.document()->firstBlock().layout()->formats().size(), 2);
    }
};

QTEST_MAIN(tst_CodeEditorView)
#include "tst_CodeEditorView.moc"
