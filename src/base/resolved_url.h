// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace vorn {

/// The absolute address that `text` means beside `base` (RFC 3986 section 5); absent when `text` is
/// none. Strict: what only a lenient reader would mend, such as a blank or a line feed, is none.
[[nodiscard]] inline std::optional<QUrl> resolvedUrl(const QString &text, const QUrl &base)
{
    const QUrl reference(text, QUrl::StrictMode);
    QUrl url = base.resolved(reference);
    if (!reference.isValid() || !url.isValid() || url.isRelative())
        return std::nullopt;
    return url;
}

} // namespace vorn
