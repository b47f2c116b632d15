#include "document/LineCommands.h"
#include "document/PythonScanner.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// A text with "|" at the caret and "^" at the other end of the selection.
struct Marked
{
    explicit Marked(const QString &marked)
        : text(marked)
    {
        selection.position = static_cast<int>(text.indexOf(u'|'));
        selection.anchor = static_cast<int>(text.indexOf(u'^'));
        text.remove(u'|').remove(u'^');
        if (selection.anchor < 0)
            selection.anchor = selection.position;
        else
            --(selection.anchor < selection.position ? selection.position : selection.anchor);
    }

    QString after(const std::optional<TextEdit> &edit) const
    {
        if (!edit)
            return u"nothing"_s;
        QString result = text;
        result.replace(edit->start, edit->end - edit->start, edit->replacement);
        const auto &[anchor, position] = edit->selection;
        result.insert(std::max(anchor, position), anchor > position ? u'^' : u'|');
        if (anchor != position)
            result.insert(std::min(anchor, position), anchor > position ? u'|' : u'^');
        return result;
    }

    QString text;
    TextSelection selection;
};

} // namespace

class tst_LineCommands final : public QObject
{
    Q_OBJECT

private slots:
    void indentsNewLines()
    {
        const std::vector<std::pair<QString, QString>> cases{
            {u"if x:|"_s, u"    "_s},
            {u"  if x:  # why (not\"|"_s, u"      "_s},
            {u"# if x:|"_s, u""_s},
            {u"s = 'if x:'|"_s, u""_s},
            {u"d = {'a':|"_s, u"    "_s},
            {u"  '''a\n    b (|"_s, u"    "_s},
            {u"f(|"_s, u"    "_s},
            {u"f(|)"_s, u""_s},
            {u"f(a,|"_s, u"    "_s},
            {u"f(\n    a,|"_s, u"    "_s},
            {u"f(\n    g(\n        1),|"_s, u"    "_s},
            {u"def f(\n        a, b='#'):|"_s, u"    "_s},
            {u"if x[1:|]"_s, u""_s},
            {u"    return 1|"_s, u""_s},
            {u"        raise E(\n            1)|"_s, u"    "_s},
            {u"\t\tpass|"_s, u"\t"_s},
            {u"\tif x:|"_s, u"\t\t"_s},
            {u"    returned = 1|"_s, u"    "_s},
            {u"return|"_s, u""_s},
            {u"x = 1 + \\|\n"_s, u"    "_s},
            {u"x = 1 + \\\n    2|"_s, u""_s},
            {u"  'open\n  x|"_s, u"  "_s},
            {u"  |  x"_s, u"  "_s},
        };
        for (const auto &[marked, expected] : cases) {
            const Marked place(marked);
            QCOMPARE(PythonIndentation().ofNewLine(place.text, place.selection.position), expected);
        }
        for (const auto &[marked, count] : {std::pair{u"      |x"_s, 2},
                                            {u"    |"_s, 4},
                                            {u"\t   |"_s, 3},
                                            {u"\t|"_s, 1},
                                            {u"|"_s, 0},
                                            {u" x |"_s, 0},
                                            {u"\n     |"_s, 1}}) {
            const Marked place(marked);
            QCOMPARE(PythonIndentation().stepBefore(place.text, place.selection.position), count);
        }
    }

    void editsLines()
    {
        using Command = std::optional<TextEdit> (LineCommands::*)() const;
        for (const auto &[command, marked, after] :
             {std::tuple{Command(&LineCommands::indent), u"a\n^b\n\n  c|\nd"_s,
                         u"a\n^    b\n\n      c|\nd"_s},
              {&LineCommands::indent, u"a|"_s, u"    a|"_s},
              {&LineCommands::unindent, u"|      a\n b\nc\n^d"_s, u"|    a\nb\nc\n^d"_s},
              {&LineCommands::unindent, u"a|"_s, u"nothing"_s},
              {&LineCommands::toggleComment, u"  ^if x:\n\n      y|"_s,
               u"  ^# if x:\n\n  #     y|"_s},
              {&LineCommands::toggleComment, u"  # ^if x:\n\n  #y|"_s, u"  ^if x:\n\n  y|"_s},
              {&LineCommands::toggleComment, u"^# a\nb|"_s, u"^# # a\n# b|"_s},
              {&LineCommands::toggleComment, u"  |\n"_s, u"  # |\n"_s},
              {&LineCommands::moveUp, u"a\n^b\nc\n|d"_s, u"^b\nc\n|a\nd"_s},
              {&LineCommands::moveUp, u"a|\nb"_s, u"nothing"_s},
              {&LineCommands::moveDown, u"^a\n|b"_s, u"b\n^a|"_s},
              {&LineCommands::moveDown, u"a|b\n\n"_s, u"\na|b\n"_s},
              {&LineCommands::duplicate, u"a\n|b"_s, u"a\nb\n|b"_s},
              {&LineCommands::remove, u"abc|\nd\ne"_s, u"d|\ne"_s},
              {&LineCommands::remove, u"ab\nc^d\nef|"_s, u"ab|"_s},
              {&LineCommands::remove, u"ab|"_s, u"|"_s},
              {&LineCommands::join, u"x = ^(1, \n    2,\n3)|\ny"_s, u"x = (1, 2,| 3)\ny"_s},
              {&LineCommands::join, u"|a\n\nb"_s, u"a|\nb"_s},
              {&LineCommands::join, u"a|"_s, u"nothing"_s}}) {
            const Marked before(marked);
            const LineCommands commands(before.text, before.selection);
            QCOMPARE(before.after((commands.*command)()), after);
        }
    }

    void findsPartners()
    {
        for (const auto &[marked, expected] : {std::pair{u"|f(a)"_s, u"none"_s},
                                               {u"f(|a)"_s, u"1 3"_s},
                                               {u"f|(')', [a] # )\n)"_s, u"1 15"_s},
                                               {u"f('|(')"_s, u"none"_s},
                                               {u"# (|)"_s, u"none"_s},
                                               {u"(a]|)"_s, u"2 -1"_s}}) {
            const Marked place(marked);
            const auto pair = bracketAt(place.text, place.selection.position);
            QCOMPARE(pair ? u"%1 %2"_s.arg(pair->position).arg(pair->match.value_or(-1))
                          : u"none"_s,
                     expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_LineCommands)
#include "tst_LineCommands.moc"
