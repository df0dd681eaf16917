// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/made_content.h"

#include "base/digest.h"
#include "rig/base/dice.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vorn::rig {
namespace {

// A prime: chunks in the wrong order do not go unnoticed.
constexpr qint64 periodBytes = 1'048'573;

const std::vector<char> &period()
{
    static const std::vector<char> bytes = [] {
        std::vector<char> made(periodBytes);
        Dice dice(1);
        for (char &byte : made)
            byte = char(int(dice.uniform(0, 256)));
        return made;
    }();
    return bytes;
}

} // namespace

ContentReader madeContent(int castIndex, int number)
{
    // Far enough from each other for all phones and 10,000 clips.
    const qint64 phase = (castIndex * qint64{65'537} + (number + 1) * qint64{101}) % periodBytes;
    return [phase, &bytes = period()](qint64 offset, std::span<char> into) {
        while (!into.empty()) {
            const qint64 at = (phase + offset) % periodBytes;
            const std::size_t part = std::min(into.size(), std::size_t(periodBytes - at));
            std::memcpy(into.data(), bytes.data() + at, part);
            into = into.subspan(part);
            offset += qint64(part);
        }
    };
}

QString sha256Of(const ContentReader &content, qint64 bytes)
{
    std::vector<char> buffer(std::size_t(std::min<qint64>(bytes, 1 << 20)));
    Sha256 digest;
    for (qint64 offset = 0; offset < bytes; offset += qint64(buffer.size())) {
        const auto part = std::span(buffer).first(
            std::size_t(std::min<qint64>(qint64(buffer.size()), bytes - offset)));
        content(offset, part);
        digest.add(std::as_bytes(part));
    }
    return digest.finish();
}

} // namespace vorn::rig
