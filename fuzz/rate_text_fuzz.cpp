#include "drift/drift_error.h"
#include "drift/rate_text.h"
#include "drift/timeline_document.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// A text either is refused or gives a rate whose frame time can be printed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    try {
        const double rate = vorn::DriftEngine::fpsValue(text);
        if (!text.contains(u'/') && !(rate > 0))
            std::abort();
        (void)vorn::DriftEngine::seconds(1 / rate);
    } catch (const vorn::DriftExportError &) {
        return 0;
    }
    return 0;
}
