// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/device_catalog.h"

#include <QUrl>

namespace vorn {

/// `library` with all that `catalog`, read from `baseURL`, describes merged into it: new takes and
/// clips, later names and facts of known ones. All or nothing: where the catalog contradicts the
/// library or itself, throws IdentityError. Takes time in proportion to both.
[[nodiscard]] VORNLibrary mergeCatalog(const DeviceCatalog &catalog, const QUrl &baseURL,
                                       VORNLibrary library);

} // namespace vorn
