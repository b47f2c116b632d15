#include "editor/FindBar.h"

#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

namespace Korvane {

namespace {

constexpr int widestField = 360;
constexpr int narrowestField = 80;
constexpr int comfortableField = 160; // with less room, the options get a row of their own
constexpr int spacing = 4;

} // namespace

FindBar::FindBar(QWidget *parent)
    : EditorBar(tr("Find"), parent)
    , m_count(new QLabel)
    , m_options(new QWidget)
    , m_matchCase(makeOption(QStringLiteral("Aa"), QStringLiteral("matchCase"), tr("Match case")))
    , m_wholeWords(
          makeOption(QStringLiteral("“ab”"), QStringLiteral("wholeWords"), tr("Whole words")))
    , m_regularExpression(makeOption(QStringLiteral(".*"), QStringLiteral("regularExpression"),
                                     tr("Regular expression")))
    , m_inSelection(makeOption(QStringLiteral("[ ]"), QStringLiteral("inSelection"),
                               tr("Only in the text that is selected now")))
    , m_replaceRow(new QWidget)
    , m_replacement(new QLineEdit)
{
    setObjectName(QStringLiteral("findBar"));
    field()->setObjectName(QStringLiteral("findField"));
    field()->setPlaceholderText(tr("Find"));
    field()->setAccessibleName(tr("Find"));
    field()->setMinimumWidth(narrowestField);
    field()->setMaximumWidth(widestField);
    m_count->setObjectName(QStringLiteral("findCount"));
    m_count->setTextFormat(Qt::PlainText);
    QToolButton *previous = makeButton(QStringLiteral("↑"), tr("Previous (Shift+Return)"));
    previous->setObjectName(QStringLiteral("findPrevious"));
    QToolButton *next = makeButton(QStringLiteral("↓"), tr("Next (Return)"));
    next->setObjectName(QStringLiteral("findNext"));

    auto *options = new QHBoxLayout(m_options);
    options->setContentsMargins(0, 0, 0, 0);
    options->setSpacing(spacing);
    for (QToolButton *button : {m_matchCase, m_wholeWords, m_regularExpression, m_inSelection})
        options->addWidget(button);
    options->addSpacing(spacing);
    options->addWidget(m_count);
    controls()->addWidget(field(), 1);
    controls()->addWidget(previous);
    controls()->addWidget(next);
    controls()->addWidget(m_options, 1);
    makeReplaceRow();

    connect(field(), &QLineEdit::textChanged, this, &FindBar::searchChanged);
    for (const QToolButton *button : {m_matchCase, m_wholeWords, m_regularExpression})
        connect(button, &QToolButton::toggled, this, &FindBar::searchChanged);
    connect(m_inSelection, &QToolButton::clicked, this, &FindBar::inSelectionRequested);
    connect(next, &QToolButton::clicked, this, &FindBar::nextRequested);
    connect(previous, &QToolButton::clicked, this, &FindBar::previousRequested);
}

void FindBar::makeReplaceRow()
{
    m_replacement->setObjectName(QStringLiteral("replaceField"));
    m_replacement->setPlaceholderText(tr("Replace with"));
    m_replacement->setAccessibleName(tr("Replace with"));
    m_replacement->setMinimumWidth(narrowestField);
    m_replacement->setMaximumWidth(widestField);
    QToolButton *one = makeButton(tr("Replace"), tr("Replace and find the next (Return)"));
    QToolButton *all = makeButton(tr("All"), tr("Replace all"));
    all->setObjectName(QStringLiteral("replaceAll"));
    auto *row = new QHBoxLayout(m_replaceRow);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing);
    row->addWidget(m_replacement, 1);
    row->addWidget(one);
    row->addWidget(all);
    row->addStretch();
    rows()->addWidget(m_replaceRow);
    m_replaceRow->hide();
    connect(one, &QToolButton::clicked, this, &FindBar::replaceRequested);
    connect(all, &QToolButton::clicked, this, &FindBar::replaceAllRequested);
}

QToolButton *FindBar::makeOption(const QString &text, const QString &name, const QString &toolTip)
{
    QToolButton *button = makeButton(text, toolTip);
    button->setObjectName(name);
    button->setCheckable(true);
    return button;
}

TextSearch FindBar::search() const
{
    return {field()->text(), m_matchCase->isChecked(), m_wholeWords->isChecked(),
            m_regularExpression->isChecked()};
}

void FindBar::setQuery(const QString &query)
{
    field()->setText(query);
}

QString FindBar::replacement() const
{
    return m_replacement->text();
}

void FindBar::setReplaceShown(bool isShown)
{
    m_replaceRow->setVisible(isShown);
}

void FindBar::setInSelection(bool isInSelection)
{
    m_inSelection->setChecked(isInSelection);
}

void FindBar::showCount(qsizetype current, qsizetype total)
{
    const QString text = field()->text().isEmpty() ? QString()
        : total == 0                               ? tr("Not found")
        : current == 0                             ? tr("%1 found").arg(total)
                                                   : tr("%1 of %2").arg(current).arg(total);
    showText(text, false);
}

void FindBar::showReplaced(qsizetype count)
{
    showText(count == 0 ? tr("Not found") : tr("%1 replaced").arg(count), false);
}

void FindBar::showError(const QString &error)
{
    showText(error, true);
}

void FindBar::showText(const QString &text, bool isError)
{
    m_count->setText(text);
    m_count->setToolTip(isError ? text.toHtmlEscaped() : QString());
    QPalette colors;
    if (isError)
        colors.setColor(QPalette::WindowText, Theme::of(palette()).color(Theme::Role::Red));
    m_count->setPalette(colors);
}

int FindBar::fitTo(int width)
{
    const bool isNarrow =
        m_options->sizeHint().width() + comfortableField + 2 * field()->sizeHint().height() + 60
        > width;
    if (std::exchange(m_isNarrow, isNarrow) != isNarrow) {
        if (isNarrow)
            rows()->insertWidget(1, m_options);
        else
            controls()->insertWidget(3, m_options, 1);
    }
    rows()->activate();
    return sizeHint().height();
}

void FindBar::showEvent(QShowEvent *event)
{
    // Not in the constructor: measuring text loads this font, which nothing else uses.
    m_count->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("8888 of 8888 ")));
    // A long error is cut, and is in the tool tip; it must not widen the window.
    m_count->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    EditorBar::showEvent(event);
    // Tab moves from one field to the other before the buttons.
    setTabOrder(field(), m_replacement);
    setTabOrder(m_replacement, findChild<QToolButton *>());
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        EditorBar::keyPressEvent(event);
    else if (m_replacement->hasFocus())
        emit replaceRequested();
    else if (event->modifiers() & Qt::ShiftModifier)
        emit previousRequested();
    else
        emit nextRequested();
}

} // namespace Korvane
