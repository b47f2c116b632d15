#include "support/ScriptedBoard.h"
#include "ui/WindowFixture.h"
#include "ui/controls/ElidedLabel.h"

#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTableView>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct VariablesFixture : WindowFixture
{
    using WindowFixture::WindowFixture;

    void open() { click("Variables"); }
    QTableView &table() { return *find<QTableView>("variables"); }
    QStringList rows()
    {
        QStringList result;
        const QAbstractItemModel &model = *table().model();
        for (int row = 0; row < model.rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model.columnCount(); ++column)
                cells << model.index(row, column).data().toString();
            result << cells.join(u'|');
        }
        return result;
    }
    void set(const QList<PythonVariable> &variables)
    {
        state().variablesStore().setVariables(variables);
    }
};

} // namespace

class tst_VariablesView final : public QObject
{
    Q_OBJECT

private slots:
    void showsTheVariablesOfTheSession()
    {
        VariablesFixture fixture(WindowFixture::Python::Real);
        fixture.open();
        QVERIFY(!fixture.table().isVisible());
        QCOMPARE(fixture.find<QLabel>("variablesHint")->text(), u"Run code to inspect variables"_s);
        fixture.click("Shell");
        QTest::mouseClick(fixture.find<QPlainTextEdit>("shellInput")->viewport(), Qt::LeftButton);
        QTest::keyClicks(fixture.find<QWidget>("shellInput"), u"b = 'x'; a = [1]"_s);
        fixture.press(Qt::Key_Return);
        const QStringList expected{u"a|list|[1]"_s, u"b|str|'x'"_s};
        QTRY_COMPARE(fixture.rows(), expected);

        // It reads the variables each time it is shown, and by its buttons.
        fixture.set({});
        fixture.open();
        QTRY_COMPARE(fixture.rows(), expected);
        QVERIFY(fixture.table().isVisible());
        for (const int column : {0, 1}) // together narrower than what the values get at least
            fixture.table().horizontalHeader()->resizeSection(column, 40);
        fixture.window().resize(fixture.window().size() + QSize(50, 0));
        QTRY_COMPARE(fixture.table().columnWidth(0) + fixture.table().columnWidth(1), 80);
        fixture.set({});
        QVERIFY(!fixture.table().isVisible());
        fixture.click("refreshVariables");
        QTRY_COMPARE(fixture.rows(), expected);
        fixture.click("restartSession");
        QTRY_COMPARE(fixture.rows(), QStringList());
        QVERIFY(fixture.lines().contains(u"info: Session restarted."_s));
        QVERIFY(!fixture.table().isVisible());
    }

    void showsEachRowOnOneLineAndWhereItComesFrom()
    {
        ScriptedBoard board;
        VariablesFixture fixture;
        fixture.open();
        const QString value = u"<b>one\ntwo</b>"_s;
        fixture.state().debugSession().pause(DebugPause{12, {{u"n"_s, u"T"_s, value}}});
        QCOMPARE(fixture.rows(), QStringList{u"n|T|<b>one↵two</b>"_s});
        QCOMPARE(fixture.table().model()->headerData(1, Qt::Horizontal).toString(), u"Type"_s);
        const QModelIndex cell = fixture.table().model()->index(0, 2);
        QCOMPARE(cell.data(Qt::ToolTipRole).toString(), u"<p>&lt;b&gt;one<br>two&lt;/b&gt;</p>"_s);
        fixture.set({{u"s"_s, u"str"_s, QString(2'000, u'v')}});
        QCOMPARE(cell.data(Qt::ToolTipRole).toString().count(u'v'), 1'000); // its two ends
        // Views may pass indexes of removed rows.
        fixture.set({});
        for (const QModelIndex &removed : {cell, QModelIndex()})
            QVERIFY(!fixture.table().model()->data(removed).isValid());
        const auto *caption = fixture.find<ElidedLabel>("variablesCaption");
        QCOMPARE(caption->text(), u"stopped at line 12"_s);
        fixture.state().debugSession().reset();
        QCOMPARE(caption->text(), u"local Python"_s);

        // A long path does not widen the window.
        const QString port = fixture.folder.filePath(QString(200, u'p'));
        QVERIFY(QFile::link(board.port(), port));
        const int leastWidth = fixture.window().minimumSizeHint().width();
        QVERIFY(fixture.state().link().connectDevice(port));
        QTRY_COMPARE(caption->text(), port);
        QCoreApplication::processEvents();
        QCOMPARE(fixture.window().minimumSizeHint().width(), leastWidth);
    }

    void keepsTheChosenRow()
    {
        VariablesFixture fixture;
        fixture.open();
        QList<PythonVariable> variables;
        for (int i = 0; i < 200; ++i)
            variables << PythonVariable{u"v%1"_s.arg(i), u"int"_s, {}};
        fixture.set(variables);
        fixture.table().setCurrentIndex(fixture.table().model()->index(150, 0));
        variables.removeFirst();
        fixture.table().setFocus();
        fixture.set(variables);
        QCOMPARE(fixture.table().currentIndex().data().toString(), u"v150"_s);
        QVERIFY(fixture.table().rect().contains(
            fixture.table().visualRect(fixture.table().currentIndex())));
        fixture.press(Qt::Key_Tab);
        QVERIFY2(!fixture.table().hasFocus(), "the table keeps Tab to itself");
    }
};

QTEST_MAIN(tst_VariablesView)
#include "tst_VariablesView.moc"
