#include "ui/browser/SpaceFooter.h"

#include "base/DisplayPath.h"
#include "theme/Theme.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ElidedLabel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr QSize barSize(48, 6);
/// From this used part of the space on, the bar has the color of a warning.
constexpr double nearlyFull = 0.9;

} // namespace

class SpaceFooter::Bar final : public QWidget
{
public:
    Bar() { setFixedSize(barSize); }

    void setUsed(double part)
    {
        m_used = std::clamp(part, 0.0, 1.0);
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        const Theme &theme = Theme::of(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const double radius = height() / 2.0;
        painter.setBrush(theme.color(Theme::Role::Pressed));
        painter.drawRoundedRect(rect(), radius, radius);
        const auto role = m_used >= nearlyFull ? Theme::Role::Orange : Theme::Role::Accent;
        painter.setBrush(theme.color(role));
        painter.setClipRect(QRectF(0, 0, width() * m_used, height()));
        painter.drawRoundedRect(rect(), radius, radius);
    }

private:
    double m_used = 0;
};

SpaceFooter::SpaceFooter(QWidget *parent)
    : QWidget(parent)
    , m_bar(new Bar)
    , m_text(new ElidedLabel(Qt::ElideRight))
{
    setObjectName(QStringLiteral("boardSpace"));
    m_text->setFont(Theme::captionFont(font()));
    auto *row = new QHBoxLayout;
    row->setContentsMargins(8, 5, 8, 5);
    row->setSpacing(8);
    row->addWidget(m_bar);
    row->addWidget(m_text, 1);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new Divider);
    column->addLayout(row);
}

void SpaceFooter::setSpace(qint64 total, qint64 free)
{
    const qint64 used = total - free;
    m_bar->setUsed(static_cast<double>(used) / static_cast<double>(total));
    m_text->setText(tr("%1 free, %2 used").arg(displaySize(free), displaySize(used)));
    setToolTip(tr("%1 of %2 used on the board, %3 free")
                   .arg(displaySize(used), displaySize(total), displaySize(free)));
}

} // namespace Korvane
