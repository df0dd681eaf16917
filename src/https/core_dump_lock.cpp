// SPDX-License-Identifier: Apache-2.0

#include "https/core_dump_lock.h"

#include <sys/prctl.h>

namespace vorn {
namespace {

int locks = 0;
int dumpableBefore = 1;

} // namespace

CoreDumpLock::CoreDumpLock() noexcept
{
    if (locks++ > 0)
        return;
    dumpableBefore = ::prctl(PR_GET_DUMPABLE);
    ::prctl(PR_SET_DUMPABLE, 0);
}

CoreDumpLock::~CoreDumpLock()
{
    // Only 0 and 1 can be set; 2 is the system's own.
    if (--locks == 0 && dumpableBefore == 1)
        ::prctl(PR_SET_DUMPABLE, 1);
}

} // namespace vorn
