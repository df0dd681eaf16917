// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/take_plan.h"

#include <QImage>
#include <QString>

namespace vorn::rig {

/// Films the scene as that phone and writes its movie into `folder`, as phones write it: QuickTime,
/// H.264 or HEVC and AAC, headers at the end, an upright picture stored on its side with a matrix
/// that turns it. The same plan gives the same bytes. Throws RigError. Any thread.
void writeMovie(const PhonePlan &phone, const QString &folder);

/// The bare samples that writeMovie keeps in `folder` while it works.
[[nodiscard]] QString scratchSoundFileName(const PhonePlan &phone);

/// Decodes the frame of that index, turned as it is to be seen. Throws RigError, also when the
/// movie ends before it.
[[nodiscard]] QImage decodedFrame(const QString &moviePath, const FrameRate &rate,
                                  std::int64_t index);

} // namespace vorn::rig
