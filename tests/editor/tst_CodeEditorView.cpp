#include "document/EditorFile.h"
#include "document/PythonTextStorage.h"
#include "editor/CodeEditorView.h"
#include "editor/EditorCommands.h"
#include "editor/LineNumberRulerView.h"
#include "editor/PythonTextLayout.h"
#include "theme/Theme.h"

#include <QAbstractTextDocumentLayout>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
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
struct Desk
{
    explicit Desk(const QString &text = {})
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
        Desk desk(u"abc\n"_s);
        desk.press(Qt::Key_Tab);
        desk.putCaret(6, 4);
        desk.press(Qt::Key_Tab);
        QCOMPARE(desk.editor.text(), u"        c\n"_s);
        desk.press(Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(desk.editor.text(), u"        \n        c\n"_s);
        desk.editor.setIndentWidth(2);
        const QTextOption option = desk.editor.document()->defaultTextOption();
        QCOMPARE(option.tabStopDistance(),
                 2 * QFontMetricsF(desk.editor.font()).horizontalAdvance(u' '));
        QCOMPARE(option.textDirection(), Qt::LeftToRight);
    }

    void editsLinesInOneStepEach()
    {
        const QString before = u"if a:  \n    (b)\nc\nd"_s;
        Desk desk(before);
        desk.file.toggleBreakpoint(2);
        desk.file.toggleBreakpoint(3);
        using Lines = QSet<int>;
        struct Case
        {
            int caret;
            Qt::Key key;
            Qt::KeyboardModifiers modifiers;
            QString after;
            Lines breakpoints;
        };
        const std::vector<Case> cases{
            {5, Qt::Key_Return, {}, u"if a:\n    \n    (b)\nc\nd"_s, {3, 4}},
            {12, Qt::Key_Backspace, {}, u"if a:  \n(b)\nc\nd"_s, {2, 3}},
            {14, Qt::Key_Backtab, Qt::ShiftModifier, u"if a:  \n(b)\nc\nd"_s, {2, 3}},
            {16,
             Qt::Key_BracketRight,
             Qt::ControlModifier,
             u"if a:  \n    (b)\n    c\nd"_s,
             {2, 3}},
            {0, Qt::Key_Down, Qt::AltModifier, u"    (b)\nif a:  \nc\nd"_s, {1, 3}},
            {18, Qt::Key_Up, Qt::AltModifier, u"if a:  \n    (b)\nd\nc"_s, {2, 4}},
        };
        for (const Case &row : cases) {
            desk.putCaret(row.caret);
            desk.press(row.key, row.modifiers);
            QCOMPARE(desk.editor.text(), row.after);
            QCOMPARE(desk.file.breakpoints(), row.breakpoints);
            desk.press(Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(desk.editor.text(), before);
            QCOMPARE(desk.file.breakpoints(), (Lines{2, 3}));
        }
        desk.press(Qt::Key_F, Qt::ControlModifier); // the field keeps these keys
        desk.press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(desk.editor.text(), before);
    }

    void copiesAndPastesExactly()
    {
        const QString odd = u"a\u00A0\u2028b\tשלום\ne\u0301🐍"_s;
        Desk desk(odd);
        desk.press(Qt::Key_A, Qt::ControlModifier);
        desk.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), odd);
        desk.press(Qt::Key_End, Qt::ControlModifier);
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(desk.editor.text(), odd + odd);
        desk.press(Qt::Key_A, Qt::ControlModifier);
        QApplication::clipboard()->setImage(QImage(1, 1, QImage::Format_RGB32));
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(desk.editor.text(), odd + odd);
        QApplication::clipboard()->setText(u"x\r\ny"_s);
        desk.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(desk.editor.text(), u"x\ny"_s);
    }

    void keepsEachDocumentToItself()
    {
        Desk desk(numbered(200));
        const auto undo = [&](Qt::KeyboardModifiers modifiers = {}) {
            desk.press(Qt::Key_Z, Qt::ControlModifier | modifiers);
            return desk.editor.text();
        };
        desk.press(Qt::Key_End, Qt::ControlModifier);
        desk.type(u"first"_s);
        const QString first = desk.editor.text();
        const int firstCaret = desk.caret();
        const int firstScroll = desk.editor.verticalScrollBar()->value();

        auto other =
            std::make_unique<EditorFile>(u"o.py"_s, DocumentPlace(), DocumentText{u"short"_s});
        desk.editor.showDocument(other.get());
        QCOMPARE(desk.caret(), 5); // the caret keeps its offset, limited to the text
        QCOMPARE(undo(), u"short"_s);
        QVERIFY(!other->isModified()); // being shown is no edit
        desk.press(Qt::Key_Home);
        desk.type(u"a "_s);

        desk.editor.showDocument(&desk.file);
        QCOMPARE(desk.editor.text(), first);
        QCOMPARE(desk.caret(), firstCaret);
        QCOMPARE(desk.editor.verticalScrollBar()->value(), firstScroll);
        QCOMPARE(undo(), numbered(200));
        QCOMPARE(undo(), numbered(200));
        desk.editor.showDocument(other.get());
        QCOMPARE(desk.caret(), 2);
        QCOMPARE(undo(), u"short"_s);
        QCOMPARE(undo(Qt::ShiftModifier), u"a short"_s);

        // A text from outside moves the caret only if it is too short, and can be undone.
        desk.putCaret(7, 5);
        other->setContent(u"another text"_s);
        QCOMPARE(desk.caret(), 5);
        QVERIFY(!desk.editor.textCursor().hasSelection());
        other->setContent(u"abc"_s);
        QCOMPARE(desk.caret(), 3);
        QCOMPARE(undo(), u"another text"_s);
        other.reset(); // closed while it is shown
        QCOMPARE(desk.editor.text(), QString());
        desk.editor.showDocument(&desk.file);
        QVERIFY(desk.editor.document()->isRedoAvailable());
    }

    void showsThePausedLineOncePerPause()
    {
        Desk desk(numbered(50) + u"x = '%1'\n"_s.arg(QString(3000, u'x')) + numbered(200));
        QScrollBar *scroll = desk.editor.verticalScrollBar();
        desk.file.setDebugLines({}, 120);
        QVERIFY(desk.shows(120));
        QCOMPARE(desk.caret(), 0);
        scroll->setValue(0);
        desk.file.setDebugLines({}, 120);
        QCOMPARE(scroll->value(), 0);
        desk.file.setDebugLines({}, std::nullopt);
        desk.file.setDebugLines({}, 120);
        QVERIFY(desk.shows(120));
        const int before = scroll->value();
        desk.file.setDebugLines({}, 121); // in view already
        QCOMPARE(scroll->value(), before);
        desk.file.setDebugLines({}, 3);
        QVERIFY(desk.shows(3));
        scroll->setValue(100);
        desk.file.setDebugLines({}, 10'000);
        QCOMPARE(scroll->value(), 0);
        scroll->setValue(100);
        desk.file.setDebugLines({}, 252);
        QVERIFY(desk.shows(252));
    }

    void drawsTheGutter()
    {
        Desk desk(u"a\nb\n"_s + QString(100, u'c') + u"\nd\ne\n"_s);
        QPalette palette = desk.editor.palette();
        palette.setColor(QPalette::Base, Qt::black);
        palette.setColor(QPalette::Text, Qt::white);
        palette.setColor(QPalette::Window, Qt::darkGray);
        desk.editor.setPalette(palette);
        const QColor background = palette.color(QPalette::Window);
        QCOMPARE(desk.gutter()->geometry(), QRect(0, 0, 44, desk.editor.viewport()->height()));
        QCOMPARE(desk.editor.viewport()->x(), 44);
        QCOMPARE(desk.pixel(14, 1), background);
        QCOMPARE(desk.pixel(43, 1), Theme::dark().color(Theme::Role::Separator));

        for (const int line : {1, 3})
            desk.file.toggleBreakpoint(line);
        desk.file.setDebugLines({3, 4}, 3);
        for (const int x : {11, 14, 17}) {
            QCOMPARE(desk.pixel(x, 1), Theme::dark().color(Theme::Role::BreakpointMarker));
            QCOMPARE(desk.pixel(x, 3), desk.pixel(x, 1));
        }
        for (const auto &[x, line] : {std::pair(8, 1), {20, 1}, {14, 2}, {14, 4}})
            QCOMPARE(desk.pixel(x, line), background);
        QVERIFY(desk.pixel(9.5, 4) != background); // a ring
        // All rows of a wrapped line carry the band of the pause, only the first its number.
        QCOMPARE(desk.pixel(2, 4), background);
        const CodeEditorView::LineRows paused = desk.editor.visibleLines().at(2);
        QVERIFY(paused.height > 1.9 * paused.firstRowHeight);
        const QImage image = desk.gutter()->grab().toImage();
        for (int x = 0; x < 43; ++x)
            QCOMPARE(image.pixelColor(x, int(paused.top + 1.5 * paused.firstRowHeight)),
                     desk.pixel(2, 3));
        QVERIFY(desk.pixel(2, 3) != background);
    }

    void asksToToggleBreakpoints()
    {
        Desk desk(u"a\n"_s + QString(100, u'b') + u"\nc\n"_s);
        QSignalSpy toggled(&desk.editor, &CodeEditorView::breakpointToggleRequested);
        const auto lineAt = [&](double x, double y, Qt::MouseButton button = Qt::LeftButton) {
            QTest::mouseClick(desk.gutter(), button, {}, QPoint(int(x), int(y)));
            return toggled.isEmpty() ? 0 : toggled.takeFirst().first().toInt();
        };
        const QList<CodeEditorView::LineRows> lines = desk.editor.visibleLines();
        QCOMPARE(lineAt(14, lines[0].top), 1);
        QCOMPARE(lineAt(0, lines[1].top - 1), 1);
        QCOMPARE(lineAt(43, lines[1].top), 2);
        QCOMPARE(lineAt(30, lines[2].top - 1), 2); // its last row
        QCOMPARE(lineAt(30, lines[2].top + 1), 3);
        QCOMPARE(lineAt(30, lines[3].top + lines[3].height + 1), 0);
        QCOMPARE(lineAt(30, lines[0].top, Qt::RightButton), 0);

        desk.putCaret(50);
        desk.press(Qt::Key_F9);
        QCOMPARE(toggled.takeFirst(), QVariantList{2});
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(60, 10), QPoint(60, 10));
        QApplication::sendEvent(desk.editor.viewport(), &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(
            menu
            && menu->actions().contains(desk.editor.commands()[EditorCommands::ToggleBreakpoint]));
        menu->close();
    }

    void describesTheGutter()
    {
        Desk desk(u"a\n"_s);
        using Lines = QSet<int>;
        for (const auto &[breakpoints, active, paused, description] :
             {std::tuple{Lines{}, Lines{}, 0, "No breakpoints"},
              {Lines{5, 3}, Lines{}, 5, "Breakpoints on lines 3, 5; paused at line 5"},
              {Lines{3}, Lines{3, 9}, 0, "Breakpoint on line 3; still armed on line 9"}}) {
            desk.file.clearBreakpoints();
            for (const int line : breakpoints)
                desk.file.toggleBreakpoint(line);
            desk.file.setDebugLines(active, paused ? std::optional(paused) : std::nullopt);
            QCOMPARE(desk.gutter()->accessibleDescription(), QLatin1String(description));
        }
    }

    void growsTheGutterWithTheText()
    {
        Desk desk(numbered(98)); // and an empty one
        QCOMPARE(desk.gutter()->width(), 44);
        desk.press(Qt::Key_Return);
        QVERIFY(desk.gutter()->width() > 44);
        QCOMPARE(desk.editor.viewport()->x(), desk.gutter()->width());
        desk.press(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(desk.gutter()->width(), 44);
    }

    void findsText()
    {
        Desk desk(u"Spam, spam\nspammer egg spam\n"_s + numbered(300) + u"SPAM\n"_s);
        const auto selection = [&] { return desk.editor.textCursor().selectionStart(); };
        desk.press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(desk.find<QWidget>("findBar")->isVisible());
        desk.type(u"spam"_s);
        QCOMPARE(desk.found(), u"1 of 5"_s);
        QCOMPARE(desk.editor.extraSelections().size(), 4); // those in view
        desk.press(Qt::Key_Return);
        QCOMPARE(desk.found(), u"2 of 5"_s);
        desk.press(Qt::Key_F3);
        QCOMPARE(selection(), 11);
        desk.press(Qt::Key_Return, Qt::ShiftModifier);
        desk.press(Qt::Key_F3, Qt::ShiftModifier);
        desk.press(Qt::Key_Return, Qt::ShiftModifier); // round the start
        QCOMPARE(desk.found(), u"5 of 5"_s);
        QVERIFY(desk.shows(303));
        QTest::mouseClick(desk.find<QToolButton>("findNext"), Qt::LeftButton);
        QCOMPARE(desk.found(), u"1 of 5"_s);

        desk.find<QToolButton>("matchCase")->click();
        desk.find<QToolButton>("wholeWords")->click();
        QCOMPARE(desk.found(), u"1 of 2"_s);
        QCOMPARE(selection(), 6);
        desk.type(u"!"_s);
        QCOMPARE(desk.found(), u"Not found"_s);
        desk.press(Qt::Key_Backspace);
        QCOMPARE(selection(), 6); // from where the search began

        desk.press(Qt::Key_Escape);
        QVERIFY(desk.find<QWidget>("findBar")->isHidden() && desk.editor.hasFocus());
        QVERIFY(desk.editor.extraSelections().isEmpty());
        QCOMPARE(desk.editor.textCursor().selectedText(), u"spam"_s);
        desk.press(Qt::Key_F3); // without the bar
        QCOMPARE(selection(), 23);
    }

    void replacesWhatIsFound()
    {
        const QString before = u"a1 a2\na3 b\nA4"_s;
        Desk desk(before);
        desk.putCaret(10, 0);
        desk.press(Qt::Key_H, Qt::ControlModifier);
        QVERIFY(desk.find<QToolButton>("inSelection")->isChecked()); // several lines are selected
        desk.find<QToolButton>("regularExpression")->click();
        desk.type(u"(a)("_s);
        QCOMPARE(desk.found(), u"A parenthesis has no partner (4)"_s);
        desk.type(u"\\d)"_s);
        QCOMPARE(desk.found(), u"1 of 3"_s);
        desk.press(Qt::Key_Tab);
        desk.type(u"\\2\\1"_s);
        desk.press(Qt::Key_Return);
        QCOMPARE(desk.editor.text(), u"1a a2\na3 b\nA4"_s);
        QCOMPARE(desk.found(), u"1 of 2"_s);
        desk.find<QToolButton>("inSelection")->click();
        desk.find<QToolButton>("replaceAll")->click();
        QCOMPARE(desk.editor.text(), u"1a 2a\n3a b\n4A"_s);
        QCOMPARE(desk.found(), u"3 replaced"_s);
        desk.editor.undo();
        QCOMPARE(desk.editor.text(), u"1a a2\na3 b\nA4"_s);
        desk.editor.undo();
        QCOMPARE(desk.editor.text(), before);
        // The bar fits into a narrow editor.
        desk.editor.resize(300, 300);
        const QRect room(QPoint(), desk.find<QWidget>("findBar")->size());
        for (const QWidget *control : desk.find<QWidget>("findBar")->findChildren<QWidget *>())
            QVERIFY(room.contains(
                QRect(control->mapTo(desk.find<QWidget>("findBar"), QPoint()), control->size())));
    }

    void keepsCountWhileTheTextChanges()
    {
        Desk desk(u"one two one"_s);
        desk.putCaret(3, 0);
        desk.press(Qt::Key_F, Qt::ControlModifier); // for what is selected
        QCOMPARE(desk.found(), u"1 of 2"_s);
        desk.editor.setFocus();
        desk.press(Qt::Key_End);
        desk.type(u" one"_s);
        QTRY_COMPARE(desk.found(), u"3 found"_s);
        desk.press(Qt::Key_F3);
        QCOMPARE(desk.found(), u"1 of 3"_s);
        desk.putCaret(2, 0); // a part of it
        QTRY_COMPARE(desk.found(), u"3 found"_s);
        EditorFile other(u"o.py"_s, {}, DocumentText{u"only one"_s});
        desk.editor.showDocument(&other);
        QTRY_COMPARE(desk.found(), u"1 found"_s);
        desk.press(Qt::Key_Escape); // in the text as well
        QVERIFY(desk.find<QWidget>("findBar")->isHidden());
    }

    void goesToALine()
    {
        Desk desk(numbered(300));
        for (const auto &[typed, line] : {std::pair{"250", 250}, std::pair{"0", 1},
                                          std::pair{"9999", 301}, std::pair{"x7", 7}}) {
            desk.press(Qt::Key_G, Qt::ControlModifier);
            desk.type(QString::fromLatin1(typed));
            desk.press(Qt::Key_Return);
            QCOMPARE(desk.editor.currentLine(), line);
            QVERIFY(desk.shows(line) && desk.editor.hasFocus());
        }
        desk.press(Qt::Key_G, Qt::ControlModifier);
        desk.press(Qt::Key_F, Qt::ControlModifier); // takes its place
        QVERIFY(desk.find<QWidget>("goToLineBar")->isHidden());
        desk.press(Qt::Key_Escape);
        QVERIFY(desk.find<QWidget>("findBar")->isHidden() && desk.editor.hasFocus());
    }

    void colorsWhatIsInView()
    {
        Desk desk(numbered(2000));
        const auto formats = [&](int line) {
            return desk.editor.document()->findBlockByNumber(line - 1).layout()->formats();
        };
        desk.editor.viewport()->repaint();
        QCOMPARE(formats(1).size(), 1);
        QCOMPARE(formats(1000).size(), 0);
        desk.editor.verticalScrollBar()->setValue(999);
        desk.editor.viewport()->repaint();
        QCOMPARE(formats(1000).size(), 1);
        QPalette dark = desk.editor.palette();
        dark.setColor(QPalette::Base, Qt::black);
        dark.setColor(QPalette::Text, Qt::white);
        desk.editor.setPalette(dark);
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
        QTextCursor(storage.findBlockByNumber(3)).insertText(u"'''"_s); // turns strings inside out
        QCOMPARE(lines, (QSet<int>{4, 6, 7}));
        QVERIFY(everything.isEmpty());

        QTextCursor(&storage).insertText(u"\u2028"_s); // another row moves all that are below it
        QCOMPARE(everything.size(), 1);
    }

    // A text that an input method is composing is neither an edit nor in the way of the colors.
    void letsInputMethodsCompose()
    {
        Desk desk(u"x = 'a' if"_s);
        desk.putCaret(6);
        QTextCharFormat underlined;
        underlined.setFontUnderline(true);
        QInputMethodEvent composing(u"にほ"_s, {{QInputMethodEvent::TextFormat, 0, 2, underlined}});
        QApplication::sendEvent(&desk.editor, &composing);
        QVERIFY(!desk.file.isModified());
        QCOMPARE(desk.editor.text(), u"x = 'a' if"_s);
        QStringList ranges;
        for (const auto &range : desk.editor.document()->firstBlock().layout()->formats())
            ranges << u"%1+%2%3"_s.arg(range.start)
                          .arg(range.length)
                          .arg(range.format.fontUnderline() ? u"u"_s : QString());
        QCOMPARE(ranges.join(u' '), u"4+2 8+1 10+2 6+2u"_s);
        QInputMethodEvent committed;
        committed.setCommitString(u"日本"_s);
        QApplication::sendEvent(&desk.editor, &committed);
        QCOMPARE(desk.file.content(), u"x = 'a日本' if"_s);
        QCOMPARE(desk.editor.document()->firstBlock().layout()->formats().size(), 2);
    }
};

QTEST_MAIN(tst_CodeEditorView)
#include "tst_CodeEditorView.moc"
