#include "editor/TextSearch.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextSearch final : public QObject
{
    Q_OBJECT

private slots:
    void findsPlaces()
    {
        struct Case
        {
            QString text;
            QString query;
            std::vector<int> places;
            std::vector<int> withCase;
            std::vector<int> wholeWords;
        };
        const std::vector<Case> cases{
            {u"abc"_s, {}, {}, {}, {}},
            {u"Aa aA"_s, u"aa"_s, {0, 3}, {}, {0, 3}},
            {u"aaaaa"_s, u"aa"_s, {0, 2}, {0, 2}, {}}, // none over another
            {u"in int_in in"_s, u"in"_s, {0, 3, 7, 10}, {0, 3, 7, 10}, {0, 10}},
            {u"xa a"_s, u"a"_s, {1, 3}, {1, 3}, {3}},
            {u"f(x)(y"_s, u"("_s, {1, 4}, {1, 4}, {1, 4}},
            {u"ÉTÉ été\nétés"_s, u"été"_s, {0, 4, 8}, {4, 8}, {0, 4}},
        };
        for (const Case &row : cases) {
            QCOMPARE(TextSearch(row.query, false, false).positions(row.text), row.places);
            QCOMPARE(TextSearch(row.query, true, false).positions(row.text), row.withCase);
            QCOMPARE(TextSearch(row.query, false, true).positions(row.text), row.wholeWords);
        }
    }
};

QTEST_GUILESS_MAIN(tst_TextSearch)
#include "tst_TextSearch.moc"
