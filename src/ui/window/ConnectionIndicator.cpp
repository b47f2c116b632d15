#include "ui/window/ConnectionIndicator.h"

#include "app/AppState.h"
#include "board/DeviceLink.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

namespace Korvane {

class ConnectionIndicator::Dot final : public QWidget
{
public:
    Dot() { setFixedSize(8, 8); }

    void setRole(Theme::Role role)
    {
        m_role = role;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::of(palette()).color(m_role));
        painter.drawEllipse(rect());
    }

private:
    Theme::Role m_role = Theme::Role::Gray;
};

ConnectionIndicator::ConnectionIndicator(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_dot(new Dot)
    , m_caption(new QLabel)
{
    m_caption->setObjectName(QStringLiteral("connectionState"));
    m_caption->setFont(Theme::captionFont(font()));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(5);
    row->addWidget(m_dot);
    row->addWidget(m_caption);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &ConnectionIndicator::showState);
    showState();
}

void ConnectionIndicator::showState()
{
    const DeviceConnectionState &connection = m_state.link().connectionState();
    m_dot->setRole(connection.isConnected() ? Theme::Role::Green : Theme::Role::Gray);
    switch (connection.kind()) {
    case DeviceConnectionState::Kind::Disconnected:
        m_caption->setText(tr("Not Connected"));
        break;
    case DeviceConnectionState::Kind::Connecting:
        m_caption->setText(tr("Connecting…"));
        break;
    case DeviceConnectionState::Kind::Connected:
        m_caption->setText(tr("Connected"));
        break;
    }
    setToolTip(PlainText::toolTip(connection.port()));
}

} // namespace Korvane
