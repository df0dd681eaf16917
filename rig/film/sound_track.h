// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/take_plan.h"

#include <QString>

namespace vorn::rig {

/// Writes all that the phone records as bare samples into a new file: mono, signed 16 bits, in the
/// machine's byte order. Unless it hears a scene (PhonePlan::sound), that is the click track: on
/// each whole second of scene time a click, a burst of 1 kHz that starts at once and dies away
/// within 30 ms; silence between. Throws RigError.
void writeSound(const PhonePlan &phone, const QString &path);

} // namespace vorn::rig
