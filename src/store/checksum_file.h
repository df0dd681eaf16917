// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/recording_check.h"

namespace vorn {

/// The lines of a file at `path` that `sha256sum --check` reads there: checksum and name of each
/// local recording of the take. The checksums are the library's; a recording of which it has none
/// is read. Throws FileError for one that cannot be read, and when `path` is a recording's own.
/// Blocks; any thread.
[[nodiscard]] QByteArray checksumLines(const VORNTake &take, const QString &path,
                                       const CheckReport &report);

} // namespace vorn
