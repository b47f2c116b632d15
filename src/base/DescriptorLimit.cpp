#include "base/DescriptorLimit.h"

#include <sys/resource.h>

namespace Korvane::DescriptorLimit {

namespace {

rlim_t softLimitBefore = 0; // 0 until `raise` has changed the limit

} // namespace

void raise()
{
    rlimit limits = {};
    if (::getrlimit(RLIMIT_NOFILE, &limits) != 0 || limits.rlim_cur == limits.rlim_max)
        return;
    const rlim_t before = limits.rlim_cur;
    limits.rlim_cur = limits.rlim_max;
    if (::setrlimit(RLIMIT_NOFILE, &limits) == 0)
        softLimitBefore = before;
}

void restoreInChild()
{
    rlimit limits = {};
    if (softLimitBefore == 0 || ::getrlimit(RLIMIT_NOFILE, &limits) != 0)
        return;
    limits.rlim_cur = softLimitBefore;
    ::setrlimit(RLIMIT_NOFILE, &limits);
}

} // namespace Korvane::DescriptorLimit
