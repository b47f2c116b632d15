#include "editor/TextSearch.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextSearch final : public QObject
{
    Q_OBJECT

private slots:
    void findsPlaces_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QList<int>>("places");
        QTest::addColumn<QList<int>>("withCase");
        QTest::addColumn<QList<int>>("wholeWords");
        using Places = QList<int>;
        QTest::newRow("nothing") << u"abc"_s << QString() << Places{} << Places{} << Places{};
        QTest::newRow("case") << u"Aa aA"_s << u"aa"_s << Places{0, 3} << Places{} << Places{0, 3};
        QTest::newRow("none over another")
            << u"aaaaa"_s << u"aa"_s << Places{0, 2} << Places{0, 2} << Places{};
        QTest::newRow("words") << u"in int_in in"_s << u"in"_s << Places{0, 3, 7, 10}
                               << Places{0, 3, 7, 10} << Places{0, 10};
        QTest::newRow("a word behind a place within one")
            << u"xa a"_s << u"a"_s << Places{1, 3} << Places{1, 3} << Places{3};
        QTest::newRow("signs are no parts of words")
            << u"f(x)(y"_s << u"("_s << Places{1, 4} << Places{1, 4} << Places{1, 4};
        QTest::newRow("beyond ASCII")
            << u"ÉTÉ été\nétés"_s << u"été"_s << Places{0, 4, 8} << Places{4, 8} << Places{0, 4};
    }
    void findsPlaces()
    {
        QFETCH(QString, text);
        QFETCH(QString, query);
        const auto places = [&](const TextSearch &search) {
            const std::vector<int> found = search.positions(text);
            return QList<int>(found.cbegin(), found.cend());
        };
        QTEST(places({query, false, false}), "places");
        QTEST(places({query, true, false}), "withCase");
        QTEST(places({query, false, true}), "wholeWords");
    }
};

QTEST_GUILESS_MAIN(tst_TextSearch)
#include "tst_TextSearch.moc"
