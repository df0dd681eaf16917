// SPDX-License-Identifier: Apache-2.0

// Any bytes as "library.json": refused, or read so that writing loses nothing.

#include "check.h"
#include "library/record_json.h"

using namespace Qt::StringLiterals;
using namespace vorn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto name = u"library.json"_s;
    VORNLibrary library;
    try {
        library = recordFromJson<VORNLibrary>(inputBytes(data, size), name);
    } catch (const JsonError &) {
        return 0;
    }
    const QByteArray written = jsonFromRecord(library);
    check(recordFromJson<VORNLibrary>(written, name) == library,
          "what is written reads back equal");
    return 0;
}
