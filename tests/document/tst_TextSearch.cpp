#include "document/TextSearch.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextSearch final : public QObject
{
    Q_OBJECT

private:
    static std::vector<int> places(const TextSearch &search, const QString &text)
    {
        std::vector<int> result;
        const auto found = search.find(text);
        if (!found)
            return {-1};
        for (const TextSearch::Match &match : *found)
            result.push_back(match.position);
        return result;
    }

private slots:
    void findsPlaces()
    {
        using Places = std::vector<int>;
        for (const auto &[text, query, found, withCase, wholeWords] :
             {std::tuple(u"abc"_s, QString(), Places{}, Places{}, Places{}),
              {u"Aa aA"_s, u"aa"_s, {0, 3}, {}, {0, 3}},
              {u"aaaaa"_s, u"aa"_s, {0, 2}, {0, 2}, {}}, // none over another
              {u"in int_in in"_s, u"in"_s, {0, 3, 7, 10}, {0, 3, 7, 10}, {0, 10}},
              {u"f(x)(y"_s, u"("_s, {1, 4}, {1, 4}, {1, 4}},
              {u"ÉTÉ été\nétés"_s, u"été"_s, {0, 4, 8}, {4, 8}, {0, 4}}}) {
            QCOMPARE(places({query, false, false}, text), found);
            QCOMPARE(places({query, true, false}, text), withCase);
            QCOMPARE(places({query, false, true}, text), wholeWords);
        }
        const TextSearch lines{u"^a.*$"_s, true, false, true};
        QCOMPARE(places(lines, u"ab\nba\na\nA"_s), (Places{0, 6}));
        QCOMPARE(places({u"x*"_s, false, false, true}, u"axxb"_s), Places{1});
        QCOMPARE(places({u"\\w(?P<n>n)"_s, false, true, true}, u"in int an"_s), (Places{0, 7}));
    }

    void replacesMatches()
    {
        struct Case
        {
            TextSearch search;
            QString replacement;
            QString after;
        };
        const QString before = u"ab ac\nAB"_s;
        for (const auto &[search, replacement, after] : std::vector<Case>{
                 {{u"a"_s}, u"\\1$1"_s, u"\\1$1b \\1$1c\n\\1$1B"_s},
                 {{u"a(?<x>.)"_s, true, false, true},
                  u"\\1$0\\g<x>\\n\\$"_s,
                  u"babb\n$ cacc\n$\nAB"_s},
                 {{u"(a)|b"_s, true, false, true}, u"<\\1>"_s, u"<a><> <a>c\nAB"_s},
                 {{u"z"_s}, u"y"_s, before},
                 {{u"a"_s, true, false, true}, u"\\2"_s, u"There is no group 2"_s},
                 {{u"(a"_s, true, false, true}, u""_s, u"Unmatched parenthesis (2)"_s}}) {
            const auto edit =
                search.replace(before, 0, static_cast<int>(before.size()), replacement);
            QString text = before;
            if (!edit)
                text = edit.error().message;
            else if (*edit)
                text.replace((*edit)->start, (*edit)->end - (*edit)->start, (*edit)->replacement);
            QCOMPARE(text, after);
        }
        const auto within = TextSearch{u"a"_s}.replace(before, 1, 6, u"x"_s);
        QVERIFY(within && *within && (*within)->start == 3 && (*within)->end == 4);
    }

    void endsForEveryExpression()
    {
        for (const QString &query : {u"(a+)+b"_s, u"(\\w|\\w\\w)*[\\s\\S]*z"_s})
            QVERIFY(!TextSearch(query, true, false, true).find(QString(400'000, u'a')));
    }
};

QTEST_GUILESS_MAIN(tst_TextSearch)
#include "tst_TextSearch.moc"
