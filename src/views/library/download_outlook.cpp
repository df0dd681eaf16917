// SPDX-License-Identifier: Apache-2.0

#include "views/library/download_outlook.h"

#include "base/byte_sum.h"
#include "views/library/progress_text.h"

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

// What a phone on a good 5 GHz network sends in a second: 400 Mbit/s.
constexpr double plausibleBytesPerSecond = 50e6;

} // namespace

DownloadNotice downloadNotice(const DownloadOutlook &outlook)
{
    if (outlook.recordings == 0)
        return {};
    const QString size = byteText(double(outlook.bytes));
    const std::int64_t room =
        std::max<std::int64_t>(0, outlook.freeBytes.value_or(0) - outlook.bytesAhead);
    if (outlook.freeBytes && room < outlook.bytes)
        return {
            u"This take needs %1, and %2 are free where recordings are kept. Make room before you download."_s
                .arg(size, byteText(double(room))),
            true};
    const QString count =
        outlook.recordings == 1 ? u"1 recording"_s : u"%1 recordings"_s.arg(outlook.recordings);
    const QString facts = u"%1 to fetch, %2."_s.arg(count, size);
    if (!outlook.timeLeft)
        return {facts, false};
    const QString left = clockText(*outlook.timeLeft);
    const double needed = double(byteSum(outlook.bytesAhead, outlook.bytes))
                          / double(std::max<std::int64_t>(1, outlook.timeLeft->count()));
    if (needed > plausibleBytesPerSecond)
        return {
            facts
                + u" The session ends in %1, which is short for that. What has come by then is kept; pair again to go on."_s
                      .arg(left),
            true};
    return {facts + u" The session ends in %1."_s.arg(left), false};
}

} // namespace vorn
