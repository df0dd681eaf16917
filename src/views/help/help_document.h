// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

namespace vorn {

/// A page of the help as it is drawn, and as it is copied and spoken.
struct HelpDocument {
    QString html; ///< empty where the plain text is shown as it stands, in columns
    QString plain;
};

/// A page of the guide: a Markdown file.
struct GuidePage {
    QString file;
    QString title;

    bool operator==(const GuidePage &) const = default;
};

/// Pictures and lines of a guide's page are no wider.
inline constexpr int readingWidth = 680;

/// The pages that the guide's README lists, in its order.
[[nodiscard]] std::vector<GuidePage> guidePages();
[[nodiscard]] HelpDocument guideDocument(const QString &file);
[[nodiscard]] HelpDocument shortcutsDocument();
/// What runs, as far as it tells.
[[nodiscard]] HelpDocument versionsDocument();
[[nodiscard]] HelpDocument licencesDocument();

} // namespace vorn
