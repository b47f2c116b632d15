#pragma once

#include "support/TestPort.h"

#include <QProcess>
#include <QString>
#include <QStringList>

namespace Korvane {

/// The real MicroPython of scripts/virtual-board, until this object is destroyed.
class VirtualBoard final
{
public:
    /// \p options for the script, such as "--rate".
    explicit VirtualBoard(QStringList options = {});
    ~VirtualBoard();
    VirtualBoard(const VirtualBoard &) = delete;
    VirtualBoard &operator=(const VirtualBoard &) = delete;

    /// True once the port exists; otherwise errorText() has the reason. Blocks, also while npm
    /// installs the packages of the board.
    [[nodiscard]] bool start();
    [[nodiscard]] QString port() const { return m_port.path(); }
    [[nodiscard]] QString errorText() const { return m_errorText; }

private:
    TestPort m_port;
    QStringList m_options;
    QProcess m_process;
    QString m_errorText;
};

} // namespace Korvane
