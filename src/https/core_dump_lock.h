// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vorn {

/// While one lives, the system writes no memory image of this process when it crashes, and lets no
/// other process of the user read its memory: a core dump would put a secret on the disk. When the
/// last one ends, everything is as it was.
///
/// prctl(PR_SET_DUMPABLE) and not the limit RLIMIT_CORE: the system ignores that limit when a
/// program takes the dumps, as on most desktops (core(5)).
///
/// Context: UI thread.
class CoreDumpLock {
public:
    CoreDumpLock() noexcept;
    ~CoreDumpLock();
    CoreDumpLock(const CoreDumpLock &) = delete;
    CoreDumpLock &operator=(const CoreDumpLock &) = delete;
};

} // namespace vorn
