// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/live_edit_timeline.h"

#include <QString>

#include <functional>
#include <span>

namespace vorn {

/// What to call the camera of that id, which may be absent.
using CameraNaming = std::function<QString(const std::optional<QString> &id)>;

/// "01:02:05": hours, minutes and whole seconds that have passed.
[[nodiscard]] QString elapsedText(double seconds);
/// "CUT", "FADE", or "MARK" for what is no transition.
[[nodiscard]] QString editKindText(const DirectorEditEvent &event);
/// A marker's label; of any other event the camera that went to Program.
[[nodiscard]] QString editDetailText(const DirectorEditEvent &event, const CameraNaming &nameOf);

/// The events as a table for a spreadsheet or an editor's notes: tab-separated, a line of headings,
/// then a line for each event. Times go to the millisecond. Characters in names that would break a
/// line or a column are blanks.
[[nodiscard]] QString editLogTable(std::span<const DirectorEditEvent> events,
                                   const CameraNaming &nameOf);

} // namespace vorn
