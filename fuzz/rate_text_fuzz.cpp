// SPDX-License-Identifier: Apache-2.0

// Any text as a frame rate: it is refused, or it is a number whose frame time can be printed.

#include "check.h"
#include "drift/drift_error.h"
#include "drift/fcpxml_text.h"
#include "drift/rate_text.h"

using namespace vorn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(inputBytes(data, size));
    try {
        const double rate = DriftEngine::fpsValue(text);
        check(text.contains(u'/') || rate > 0, "only a ratio can be zero or below");
        (void)DriftEngine::seconds(1 / rate);
    } catch (const DriftExportError &) {
        return 0;
    }
    return 0;
}
