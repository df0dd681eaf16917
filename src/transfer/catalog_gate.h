// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/device_catalog.h"
#include "transfer/transfer_error.h"

#include <QUrl>

namespace vorn::TransferProtocol {

/// The gate before the library: refuses a catalog, read from `baseURL`, any part of which breaks
/// the rules, at its first fault. The schema version and whether it is the paired camera's are the
/// caller's to check. Takes time in proportion to the catalog. Throws TransferProtocolError.
void validateAuthenticatedCatalog(const DeviceCatalog &catalog, const QUrl &baseURL);

} // namespace vorn::TransferProtocol
