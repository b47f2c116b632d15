#include "Desk.h"
#include "support/ScriptedBoard.h"
#include "ui/ElidedLabel.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QTableView>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct VariablesDesk : Desk
{
    using Desk::Desk;

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
        state().variablesFlow().setVariables(variables);
    }
};

} // namespace

class tst_VariablesView final : public QObject
{
    Q_OBJECT

private slots:
    void showsTheVariablesOfTheSession()
    {
        VariablesDesk desk(Desk::Python::Real);
        desk.open();
        QVERIFY(!desk.table().isVisible());
        QCOMPARE(desk.find<QLabel>("variablesHint")->text(), u"Run code to inspect variables"_s);
        desk.click("Shell");
        QTest::mouseClick(desk.find<QPlainTextEdit>("shellInput")->viewport(), Qt::LeftButton);
        QTest::keyClicks(desk.find<QWidget>("shellInput"), u"b = 'x'; a = [1]"_s);
        desk.press(Qt::Key_Return);
        const QStringList expected{u"a|list|[1]"_s, u"b|str|'x'"_s};
        QTRY_COMPARE(desk.rows(), expected);

        // Each time it is shown it asks again, and so do its buttons.
        desk.set({});
        desk.open();
        QTRY_COMPARE(desk.rows(), expected);
        QVERIFY(desk.table().isVisible());
        desk.set({});
        QVERIFY(!desk.table().isVisible());
        desk.click("refreshVariables");
        QTRY_COMPARE(desk.rows(), expected);
        desk.click("restartSession");
        QTRY_COMPARE(desk.rows(), QStringList());
        QVERIFY(desk.lines().contains(u"info: Session restarted."_s));
        QVERIFY(!desk.table().isVisible());
    }

    void showsEachRowOnOneLineAndWhereItComesFrom()
    {
        ScriptedBoard board;
        VariablesDesk desk;
        desk.open();
        const QString value = u"<b>one\ntwo</b>"_s;
        desk.state().debugSession().pause(DebugPause{12, {{u"n"_s, u"T"_s, value}}});
        QCOMPARE(desk.rows(), QStringList{u"n|T|<b>one↵two</b>"_s});
        const QModelIndex cell = desk.table().model()->index(0, 2);
        QVERIFY(cell.data(Qt::ToolTipRole).toString().contains(value.toHtmlEscaped()));
        const auto *caption = desk.find<ElidedLabel>("variablesCaption");
        QCOMPARE(caption->text(), u"stopped at line 12"_s);
        desk.state().debugSession().reset();
        QCOMPARE(caption->text(), u"local Python"_s);

        // A long path makes the window no wider.
        const QString port = desk.folder.filePath(QString(200, u'p'));
        QVERIFY(QFile::link(board.port(), port));
        const int leastWidth = desk.window().minimumSizeHint().width();
        desk.state().link().connectDevice(port);
        QTRY_COMPARE(caption->text(), port);
        QCOMPARE(caption->toolTip(), port);
        QCoreApplication::processEvents();
        QCOMPARE(desk.window().minimumSizeHint().width(), leastWidth);
    }

    void keepsTheChosenRow()
    {
        VariablesDesk desk;
        desk.open();
        QList<PythonVariable> variables;
        for (int i = 0; i < 200; ++i)
            variables << PythonVariable{u"v%1"_s.arg(i), u"int"_s, {}};
        desk.set(variables);
        desk.table().setCurrentIndex(desk.table().model()->index(150, 0));
        variables.removeFirst();
        desk.table().setFocus();
        desk.set(variables);
        QCOMPARE(desk.table().currentIndex().data().toString(), u"v150"_s);
        QVERIFY(desk.table().rect().contains(desk.table().visualRect(desk.table().currentIndex())));
        desk.press(Qt::Key_Tab);
        QVERIFY2(!desk.table().hasFocus(), "the table keeps Tab to itself");
    }
};

QTEST_MAIN(tst_VariablesView)
#include "tst_VariablesView.moc"
