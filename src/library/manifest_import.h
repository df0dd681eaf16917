// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"
#include "library/source_manifest.h"

namespace vorn {

/// What an import leaves behind.
struct ImportedTake {
    VORNProject project; ///< the whole project with the take in it, to be merged into the library
    QString takeId;
    std::size_t clipCount = 0; ///< clips that the manifest names
};

/// Reads a source manifest file. Throws FileError and JsonError.
[[nodiscard]] SourceManifest readSourceManifest(const QString &path);

/// Works out what importing `manifest`, read from `manifestPath`, makes of its project. Changes
/// nothing; the media files are not looked at. Throws IdentityError.
[[nodiscard]] ImportedTake importedTake(const SourceManifest &manifest, const QString &manifestPath,
                                        const VORNLibrary &library);

} // namespace vorn
