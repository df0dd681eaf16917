// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/take_plan.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

/// The sound of the scene: on each whole second of scene time a click, a burst of 1 kHz that starts
/// at once and dies away within 30 ms; silence between.
namespace vorn::rig {

/// `count` samples from sample `first` of what the phone records: mono, signed 16 bits, in the
/// machine's byte order. Each sample is computed for its own scene time.
[[nodiscard]] QByteArray clickSamples(const PhonePlan &phone, std::int64_t first,
                                      std::int64_t count);

/// Writes the phone's whole sound as bare samples into a new file. Throws RigError.
void writeClickTrack(const PhonePlan &phone, const QString &path);

} // namespace vorn::rig
