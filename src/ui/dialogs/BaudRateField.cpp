#include "ui/dialogs/BaudRateField.h"

#include "app/AppState.h"
#include "ui/controls/PlainText.h"
#include "ui/dialogs/PreferenceControls.h"

#include <QComboBox>
#include <QHBoxLayout>

#include <algorithm>

namespace Korvane {

BaudRateField::BaudRateField(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_port(new QComboBox)
    , m_rate(new QComboBox)
{
    m_port->setObjectName(QStringLiteral("baudRatePort"));
    m_port->setAccessibleName(tr("Serial port"));
    m_port->setPlaceholderText(tr("No serial ports found"));
    m_port->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_port->setMinimumContentsLength(14);
    m_rate->setObjectName(QStringLiteral("baudRate"));
    m_rate->setAccessibleName(tr("Baud rate"));
    for (const int rate : Preferences::baudRates())
        m_rate->addItem(QString::number(rate), rate);
    PreferenceControls::ignoreWheelWithoutFocus(m_port);
    PreferenceControls::ignoreWheelWithoutFocus(m_rate);
    setFocusProxy(m_port);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_port, 1);
    row->addWidget(m_rate);

    connect(m_port, &QComboBox::currentIndexChanged, this, &BaudRateField::showRate);
    connect(m_rate, &QComboBox::activated, this, [this](int index) {
        m_state.preferences().setBaudRate(m_port->currentData().toString(),
                                          m_rate->itemData(index).toInt());
    });
    connect(&state.link(), &DeviceLink::availablePortsChanged, this, &BaudRateField::listPorts);
    listPorts();
}

void BaudRateField::listPorts()
{
    const DeviceConnectionState connection = m_state.link().connectionState();
    QString chosen = m_port->currentData().toString();
    if (chosen.isEmpty() && connection.isConnected())
        chosen = connection.port();
    m_port->clear();
    for (const QString &port : m_state.link().availablePorts())
        m_port->addItem(PlainText::label(port), port);
    // A combo box with a placeholder text does not select its first item.
    m_port->setCurrentIndex(std::max(m_port->findData(chosen), m_port->count() > 0 ? 0 : -1));
    showRate();
}

void BaudRateField::showRate()
{
    const QString port = m_port->currentData().toString();
    m_rate->setEnabled(!port.isEmpty());
    m_rate->setCurrentIndex(m_rate->findData(m_state.preferences().baudRate(port)));
}

} // namespace Korvane
