#include "editor/GoToLineBar.h"

#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

namespace Korvane {

GoToLineBar::GoToLineBar(QWidget *parent)
    : EditorBar(tr("Go to line"), parent)
    , m_range(new QLabel)
{
    setObjectName(QStringLiteral("goToLineBar"));
    field()->setObjectName(QStringLiteral("lineField"));
    field()->setAccessibleName(tr("Line number"));
    field()->setValidator(new QIntValidator(0, std::numeric_limits<int>::max(), field()));
    field()->setMaximumWidth(120);
    controls()->addWidget(new QLabel(tr("Go to line")));
    controls()->addWidget(field());
    controls()->addWidget(m_range);
    controls()->addStretch();
}

void GoToLineBar::setLine(int line, int lineCount)
{
    field()->setText(QString::number(line));
    m_range->setText(tr("of %1").arg(lineCount));
}

void GoToLineBar::keyPressEvent(QKeyEvent *event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isReturn)
        EditorBar::keyPressEvent(event);
    else if (!field()->text().isEmpty())
        emit lineChosen(field()->text().toInt());
}

} // namespace Korvane
