// SPDX-License-Identifier: Apache-2.0

#include "media/library_versions.h"

#include <jpeglib.h>

#include <cstddef>
#include <cstdio>

namespace vorn {

QString jpegVersion()
{
    constexpr int thousand = 1000; // 2001005 is 2.1.5
    constexpr int version = LIBJPEG_TURBO_VERSION_NUMBER;
    return QStringLiteral("%1.%2.%3")
        .arg(version / thousand / thousand)
        .arg(version / thousand % thousand)
        .arg(version % thousand);
}

} // namespace vorn
