// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

#include <stop_token>

namespace vorn {

/// What the editing copies of a take will come to.
struct EditingCopyForecast {
    std::int64_t bytes = 0;
    double seconds = 0; ///< of work on this computer, as measured on the first recording
};

namespace EditingCopy {

/// Reads no more of the recordings than their headers, but for the beginning of the first one,
/// which is coded for at most two seconds to see how long that takes. Throws DriftExportError,
/// FileError and MediaProbeError where the copies cannot be made; once `stop` is asked for the time
/// is wrong. Any thread; blocks.
[[nodiscard]] EditingCopyForecast forecast(const VORNTake &take, const std::stop_token &stop);

} // namespace EditingCopy
} // namespace vorn
