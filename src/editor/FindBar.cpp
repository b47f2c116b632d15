#include "editor/FindBar.h"

#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

namespace Korvane {

namespace {

constexpr int narrowestField = 44; // all controls fit beside it in the smallest window

} // namespace

FindBar::FindBar(QWidget *parent)
    : EditorBar(tr("Find"), parent)
    , m_count(new QLabel)
    , m_matchCase(makeButton(QStringLiteral("Aa"), tr("Match case")))
    , m_wholeWords(makeButton(QStringLiteral("“ab”"), tr("Whole words")))
{
    setObjectName(QStringLiteral("findBar"));
    field()->setObjectName(QStringLiteral("findField"));
    field()->setPlaceholderText(tr("Find"));
    field()->setAccessibleName(tr("Find"));
    field()->setMinimumWidth(narrowestField);
    field()->setMaximumWidth(360);
    m_count->setObjectName(QStringLiteral("findCount"));
    m_matchCase->setObjectName(QStringLiteral("matchCase"));
    m_matchCase->setCheckable(true);
    m_wholeWords->setObjectName(QStringLiteral("wholeWords"));
    m_wholeWords->setCheckable(true);
    QToolButton *previous = makeButton(QStringLiteral("↑"), tr("Previous (Shift+Return)"));
    previous->setObjectName(QStringLiteral("findPrevious"));
    QToolButton *next = makeButton(QStringLiteral("↓"), tr("Next (Return)"));
    next->setObjectName(QStringLiteral("findNext"));

    controls()->addWidget(field(), 1);
    for (QToolButton *button : {m_matchCase, m_wholeWords, previous, next})
        controls()->addWidget(button);
    controls()->addSpacing(4);
    controls()->addWidget(m_count);
    controls()->addStretch();

    connect(field(), &QLineEdit::textChanged, this, &FindBar::searchChanged);
    connect(m_matchCase, &QToolButton::toggled, this, &FindBar::searchChanged);
    connect(m_wholeWords, &QToolButton::toggled, this, &FindBar::searchChanged);
    connect(next, &QToolButton::clicked, this, &FindBar::nextRequested);
    connect(previous, &QToolButton::clicked, this, &FindBar::previousRequested);
}

TextSearch FindBar::search() const
{
    return {field()->text(), m_matchCase->isChecked(), m_wholeWords->isChecked()};
}

void FindBar::setQuery(const QString &query)
{
    field()->setText(query);
}

void FindBar::showCount(qsizetype current, qsizetype total)
{
    const QString text = field()->text().isEmpty() ? QString()
        : total == 0                               ? tr("Not found")
        : current == 0                             ? tr("%1 found").arg(total)
                                                   : tr("%1 of %2").arg(current).arg(total);
    m_count->setText(text);
}

void FindBar::showEvent(QShowEvent *event)
{
    // Not in the constructor: measuring text loads this font, which nothing else uses.
    m_count->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("8888 of 8888 ")));
    EditorBar::showEvent(event);
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        EditorBar::keyPressEvent(event);
    else if (event->modifiers() & Qt::ShiftModifier)
        emit previousRequested();
    else
        emit nextRequested();
}

} // namespace Korvane
