// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_check.h"

namespace vorn {

/// What the check comes to, in a sentence.
[[nodiscard]] QString summaryOf(const ExportCheck &check);

/// What an export would say of this clip; names and paths as in displayText.
[[nodiscard]] QStringList findingsOf(const ExportCheck &check, std::optional<std::size_t> clip);

/// Where the clip will lie, by which line, and what an editor will meet: a sentence each.
[[nodiscard]] QStringList figuresOf(const ClipCheck &clip, std::optional<double> fps);

/// The picture of a clip's anchors and of what else bears witness, in words.
[[nodiscard]] QString pictureInWords(const ClipCheck &clip);

/// All of it as text, under a headline.
[[nodiscard]] QString exportCheckReport(const ExportCheck &check, const QString &headline);

} // namespace vorn
