// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace vorn {

/// What is known of a download before it starts.
struct DownloadOutlook {
    std::size_t recordings = 0;                   ///< to be fetched
    std::int64_t bytes = 0;                       ///< that are still missing of them
    std::int64_t bytesAhead = 0;                  ///< of downloads that come first
    std::optional<std::int64_t> freeBytes;        ///< where they will lie; absent while unknown
    std::optional<std::chrono::seconds> timeLeft; ///< of the session that ends first

    bool operator==(const DownloadOutlook &) const = default;
};

struct DownloadNotice {
    QString text; ///< empty when there is nothing to fetch
    bool isWarning = false;
};

/// The sentence for the user, who may start the download all the same.
[[nodiscard]] DownloadNotice downloadNotice(const DownloadOutlook &outlook);

} // namespace vorn
