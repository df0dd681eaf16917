// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_check.h"

#include <stop_token>

namespace vorn {

/// Adds to the check of an export what is heard of each aligned clip beside the reference camera:
/// how far apart they sound, at places throughout, or why that cannot be told. Reports as the check
/// does. Blocks; any thread. Throws what `onProgress` throws, and StoreEnded when `stop` is asked.
void listenToExport(ExportCheck &check, const std::stop_token &stop,
                    const OnExportProgress &onProgress);

} // namespace vorn
