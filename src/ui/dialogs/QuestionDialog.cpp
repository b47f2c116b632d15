#include "ui/dialogs/QuestionDialog.h"

#include "base/VisibleText.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/WrappedLabel.h"

#include <QCheckBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int dialogWidth = 520;
constexpr int margin = 20;
constexpr int spacing = 16;
constexpr int iconSize = 40;
constexpr int cancelWidth = 96; // fixed, so that the buttons beside it have fixed places

} // namespace

QuestionDialog::QuestionDialog(const QString &title, const QString &message, QWidget *window)
    : QDialog(window)
    , m_options(new QVBoxLayout)
    , m_harmless(new QHBoxLayout)
    , m_destructive(new QHBoxLayout)
    , m_caption(new QLabel)
    , m_cancel(new QPushButton(tr("Cancel")))
{
    setWindowTitle(tr("Korvane"));
    setAccessibleDescription(VisibleText::line(title + u' ' + message));
    const int width = std::min(dialogWidth, screen()->availableSize().width());
    setFixedWidth(width);

    auto *symbol = new QLabel;
    symbol->setPixmap(style()
                          ->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this)
                          .pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    m_caption->setObjectName(QStringLiteral("questionCaption"));
    m_caption->setTextFormat(Qt::PlainText);
    m_caption->setFont(Theme::captionFont(font()));
    m_caption->setForegroundRole(QPalette::PlaceholderText);
    auto *upper = new QHBoxLayout;
    upper->setSpacing(spacing);
    upper->addWidget(symbol, 0, Qt::AlignTop);
    upper->addWidget(makeTexts(title, message, width - 2 * margin - iconSize - spacing), 1);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(spacing);
    column->addLayout(upper);
    column->addLayout(m_options);
    column->addWidget(m_caption);
    column->addLayout(makeButtons());
    m_cancel->setFocus();
}

QWidget *QuestionDialog::makeTexts(const QString &title, const QString &message, int width)
{
    auto *titleLabel = new WrappedLabel(title);
    titleLabel->setObjectName(QStringLiteral("questionTitle"));
    titleLabel->setFont(Theme::headlineFont(font()));
    auto *messageLabel = new WrappedLabel(message);
    messageLabel->setObjectName(QStringLiteral("questionMessage"));
    auto *texts = new QWidget;
    auto *column = new QVBoxLayout(texts);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(titleLabel);
    column->addWidget(messageLabel);

    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(texts);
    scroll->viewport()->setAutoFillBackground(false);
    texts->setAutoFillBackground(false);
    const int height = column->heightForWidth(width);
    const int limit = screen()->availableSize().height() / 2;
    if (height > limit)
        scroll->setFocusPolicy(Qt::TabFocus); // the arrow keys scroll
    scroll->setFixedHeight(std::min(height, limit));
    return scroll;
}

QBoxLayout *QuestionDialog::makeButtons()
{
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setFixedWidth(std::max(cancelWidth, m_cancel->sizeHint().width()));
    m_cancel->setDefault(true);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *row = new QHBoxLayout;
    row->addLayout(m_harmless);
    row->addStretch();
    row->addLayout(m_destructive);
    row->addWidget(m_cancel);
    return row;
}

QPushButton *QuestionDialog::addAnswer(const QString &title, Effect effect)
{
    auto *button = new QPushButton(PlainText::label(title));
    button->setAutoDefault(false);
    QSizePolicy policy = button->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    button->setSizePolicy(policy);
    (effect == Effect::Destructive ? m_destructive : m_harmless)->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, button] {
        m_chosen = button;
        accept();
    });
    return button;
}

QCheckBox *QuestionDialog::addPathOption(const QString &text, const QString &path)
{
    const QString shown = VisibleText::line(path);
    const int room = width() - 2 * margin - fontMetrics().horizontalAdvance(text) - 2 * spacing;
    const QString elided = fontMetrics().elidedText(shown, Qt::ElideMiddle, room);
    auto *option = new QCheckBox(text.arg(PlainText::label(elided)));
    if (elided != shown)
        option->setToolTip(PlainText::toolTip(path));
    m_options->addWidget(option);
    return option;
}

void QuestionDialog::setCaption(const QString &text)
{
    m_caption->setText(text);
}

} // namespace Korvane
