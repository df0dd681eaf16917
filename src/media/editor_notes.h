// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/media_probe.h"

#include <QStringList>

namespace vorn {

/// The picture as an editor will meet it: "H.264 (avc1), 1920 × 1080, 29.97 fps, turned 90° to the
/// right".
[[nodiscard]] QString pictureText(const ProbedMedia &media);
/// The sound likewise: "AAC (mp4a)".
[[nodiscard]] QString soundText(const ProbedMedia &media);

/// A sentence for each thing that an editor is known to stumble over.
[[nodiscard]] QStringList editorNotes(const ProbedMedia &media);

} // namespace vorn
