// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

namespace vorn {

/// Ends the waits of another thread, once and for good: a wait polls the descriptor beside what it
/// waits for. Any thread.
class StopSignal {
public:
    /// Throws std::system_error when the system has no descriptor left.
    StopSignal();

    void request() const noexcept;
    [[nodiscard]] bool isRequested() const noexcept;
    /// Readable once a stop is requested.
    [[nodiscard]] int descriptor() const noexcept { return m_event.get(); }

private:
    FileDescriptor m_event;
};

} // namespace vorn
