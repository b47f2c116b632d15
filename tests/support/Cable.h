#pragma once

#include "support/PtyPair.h"
#include "support/TestPort.h"

#include <QObject>
#include <QSocketNotifier>

#include <algorithm>
#include <memory>
#include <poll.h>

namespace Korvane {

/// A cable to a board, which keeps running when the cable breaks after a number of bytes.
class Cable final : public QObject
{
public:
    explicit Cable(const QString &boardPort)
        : m_board(::open(qPrintable(boardPort), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        termios raw{};
        ::tcgetattr(m_board.get(), &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(m_board.get(), TCSANOW, &raw);
        m_fromBoard = std::make_unique<QSocketNotifier>(m_board.get(), QSocketNotifier::Read);
        connect(m_fromBoard.get(), &QSocketNotifier::activated, this, [this] {
            QByteArray bytes(4096, '\0');
            bytes.truncate(std::max<ssize_t>(0, ::read(m_board.get(), bytes.data(), 4096)));
            pass(bytes, m_line ? m_line->master() : -1);
        });
        plugIn();
    }

    [[nodiscard]] QString port() const { return m_port.path(); }
    /// Bytes that passed, in both directions, since it was plugged in.
    [[nodiscard]] qsizetype passed() const { return m_passed; }
    [[nodiscard]] bool isBroken() const { return !m_toBoard; }
    void plugIn()
    {
        m_line = std::make_unique<PtyPair>();
        m_passed = 0;
        m_breaksAfter = -1;
        m_toBoard = std::make_unique<QSocketNotifier>(m_line->master(), QSocketNotifier::Read);
        connect(m_toBoard.get(), &QSocketNotifier::activated, this,
                [this] { pass(m_line->read(), m_board.get()); });
        m_port.linkTo(m_line->slavePath());
    }
    void breakAfter(qsizetype bytes) { m_breaksAfter = m_passed + bytes; }

private:
    void pass(QByteArray bytes, int descriptor)
    {
        if (!m_line || !m_toBoard)
            return;
        if (m_breaksAfter >= 0)
            bytes.truncate(std::max<qsizetype>(0, m_breaksAfter - m_passed));
        m_passed += bytes.size();
        while (!bytes.isEmpty()) {
            pollfd waiting{descriptor, POLLOUT, 0};
            ::poll(&waiting, 1, 100);
            const ssize_t count =
                ::write(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
            bytes.remove(0, std::max<ssize_t>(0, count));
        }
        if (m_passed == m_breaksAfter) {
            m_toBoard->setEnabled(false);
            m_toBoard.release()->deleteLater();
            m_line->closeMaster();
        }
    }

    TestPort m_port;
    FileDescriptor m_board;
    std::unique_ptr<PtyPair> m_line;
    std::unique_ptr<QSocketNotifier> m_fromBoard;
    std::unique_ptr<QSocketNotifier> m_toBoard;
    qsizetype m_passed = 0;
    qsizetype m_breaksAfter = -1;
};

} // namespace Korvane
