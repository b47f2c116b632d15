#include "Desk.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QTableView>

using namespace Korvane;

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
    void showsTheVariablesOfTheSession();
    void sayWhereTheyComeFrom();
    void showsEachRowOnOneLine();
    void keepsTheChosenRow();
    void letsTabLeaveTheTable();
};

void tst_VariablesView::showsTheVariablesOfTheSession()
{
    VariablesDesk desk(Desk::Python::Real);
    desk.open();
    QVERIFY(!desk.table().isVisible());
    QCOMPARE(desk.find<QLabel>("variablesHint")->text(),
             QStringLiteral("Run code to inspect variables"));
    desk.click("Shell");
    QTest::mouseClick(desk.find<QPlainTextEdit>("shellInput")->viewport(), Qt::LeftButton);
    QTest::keyClicks(desk.find<QWidget>("shellInput"), QStringLiteral("b = 'x'; a = [1]"));
    desk.press(Qt::Key_Return);
    const QStringList expected{QStringLiteral("a|list|[1]"), QStringLiteral("b|str|'x'")};
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
    QVERIFY(desk.lines().contains(QStringLiteral("info: Session restarted.")));
    QVERIFY(!desk.table().isVisible());
}

void tst_VariablesView::sayWhereTheyComeFrom()
{
    VariablesDesk desk;
    desk.open();
    const auto *caption = desk.find<QLabel>("variablesCaption");
    QCOMPARE(caption->text(), QStringLiteral("local Python"));
    desk.state().debugSession().pause(DebugPause{
        12, {PythonVariable{QStringLiteral("i"), QStringLiteral("int"), QStringLiteral("3")}}});
    QCOMPARE(caption->text(), QStringLiteral("stopped at line 12"));
    desk.state().debugSession().reset();
    QCOMPARE(caption->text(), QStringLiteral("local Python"));
}

void tst_VariablesView::showsEachRowOnOneLine()
{
    VariablesDesk desk;
    desk.open();
    const QString value = QStringLiteral("<b>one\ntwo</b>");
    desk.set({PythonVariable{QStringLiteral("n"), QStringLiteral("T"), value}});
    QCOMPARE(desk.rows(), QStringList{QStringLiteral("n|T|<b>one↵two</b>")});
    const QModelIndex cell = desk.table().model()->index(0, 2);
    QVERIFY(cell.data(Qt::ToolTipRole).toString().contains(value.toHtmlEscaped()));
}

void tst_VariablesView::keepsTheChosenRow()
{
    VariablesDesk desk;
    desk.open();
    QList<PythonVariable> variables;
    for (int i = 0; i < 200; ++i)
        variables << PythonVariable{QStringLiteral("v%1").arg(i), QStringLiteral("int"), {}};
    desk.set(variables);
    desk.table().setCurrentIndex(desk.table().model()->index(150, 0));
    variables.removeFirst();
    desk.set(variables);
    QCOMPARE(desk.table().currentIndex().data().toString(), QStringLiteral("v150"));
    QVERIFY(desk.table().rect().contains(desk.table().visualRect(desk.table().currentIndex())));
}

void tst_VariablesView::letsTabLeaveTheTable()
{
    VariablesDesk desk;
    desk.open();
    desk.set(
        {PythonVariable{QStringLiteral("a"), {}, {}}, PythonVariable{QStringLiteral("b"), {}, {}}});
    desk.table().setFocus();
    desk.press(Qt::Key_Tab);
    QVERIFY(!desk.table().hasFocus());
}

QTEST_MAIN(tst_VariablesView)
#include "tst_VariablesView.moc"
