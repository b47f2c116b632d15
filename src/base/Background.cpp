#include "base/Background.h"

namespace Korvane {

Background::Background(int maxThreads, std::chrono::milliseconds endTimeout)
    : m_endTimeout(endTimeout)
    , m_pool(std::make_unique<QThreadPool>())
{
    m_pool->setMaxThreadCount(maxThreads);
}

Background::~Background()
{
    {
        const auto jobs = std::exchange(m_jobs, {});
        for (const auto &job : jobs)
            job->isAbandoned = true;
    }
    if (m_pool->waitForDone(static_cast<int>(m_endTimeout.count())))
        return;
    // ~QThreadPool would wait without limit. The threads that still run use only the values
    // captured by their work, and end with the process.
    m_pool->clear();
    static_cast<void>(m_pool.release());
}

} // namespace Korvane
