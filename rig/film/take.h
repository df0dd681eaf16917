// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/take_plan.h"

#include <QString>

#include <functional>

namespace vorn::rig {

/// Makes a take in `folder`: one movie for each phone, "manifest.json" unless it is
/// to have none, and "truth.json". The
/// folder must be empty, or not be there while its parent is. `onMovie`, if given, hears of each
/// movie when it is written, one at a time. On failure nothing stays behind; throws RigError or
/// the FileError of the system. Blocks while two movies at a time are encoded.
TakePlan makeTake(TakeOptions options, const QString &folder,
                  const std::function<void(const PhonePlan &)> &onMovie = {});

} // namespace vorn::rig
