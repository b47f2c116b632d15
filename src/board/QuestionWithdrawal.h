#pragma once

#include "board/DeviceLink.h"

#include <QObject>

#include <stop_token>

namespace Korvane {

/// Withdraws a question about the connected board when the connection ends or when stop is
/// requested on \p unwanted. Main thread only.
class QuestionWithdrawal final
{
public:
    explicit QuestionWithdrawal(DeviceLink &link, const std::stop_token &unwanted = {})
        : m_unwanted(unwanted, Request{m_end})
    {
        QObject::connect(&link, &DeviceLink::ended, &m_context, Request{m_end});
    }

    /// For UserPrompts::Confirmation::withdrawn. Valid also when this is destroyed.
    [[nodiscard]] std::stop_token token() const { return m_end.get_token(); }
    [[nodiscard]] bool isWithdrawn() const { return m_end.stop_requested(); }

private:
    struct Request
    {
        std::stop_source end;
        void operator()() const { std::stop_source(end).request_stop(); }
    };

    std::stop_source m_end;
    std::stop_callback<Request> m_unwanted;
    QObject m_context;
};

} // namespace Korvane
