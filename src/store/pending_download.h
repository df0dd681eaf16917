// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

namespace vorn {

/// A recording that is to be fetched, as it was when that was asked for, and where it stands in the
/// library.
struct PendingDownload {
    VORNClip clip;
    QString projectId;
    QString takeId;
};

/// The recording as the library has it now; null when it is gone.
[[nodiscard]] const VORNClip *storedClip(const VORNLibrary &library,
                                         const PendingDownload &pending);
[[nodiscard]] VORNClip *storedClip(VORNLibrary &library, const PendingDownload &pending);

/// True when another recording before it in the library has the same place for its file, since
/// folder names drop what distinguishes the two.
[[nodiscard]] bool isPlaceOfAnother(const VORNLibrary &library, const PendingDownload &pending);

} // namespace vorn
