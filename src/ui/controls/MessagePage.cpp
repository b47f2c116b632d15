#include "ui/controls/MessagePage.h"

#include "ui/controls/SymbolView.h"
#include "ui/controls/WrappedLabel.h"

#include <QVBoxLayout>

namespace Korvane {

MessagePage::MessagePage(const QString &symbol, QWidget *parent)
    : QWidget(parent)
    , m_title(new WrappedLabel({}, Qt::AlignHCenter))
    , m_text(new WrappedLabel({}, Qt::AlignHCenter))
{
    for (WrappedLabel *label : {m_title, m_text})
        label->setForegroundRole(QPalette::PlaceholderText);
    m_title->setObjectName(QStringLiteral("messageTitle"));
    m_text->setObjectName(QStringLiteral("messageText"));
    m_text->setFont(Theme::captionFont(font()));
    auto *column = new QVBoxLayout(this);
    column->setSpacing(4);
    column->addStretch();
    column->addWidget(new SymbolView(symbol, Theme::Role::TertiaryLabel, 32), 0, Qt::AlignHCenter);
    column->addWidget(m_title);
    column->addWidget(m_text);
    column->addStretch();
}

void MessagePage::setTexts(const QString &title, const QString &text)
{
    m_title->setText(title);
    m_text->setText(text);
}

} // namespace Korvane
