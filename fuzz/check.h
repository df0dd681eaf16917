// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace vorn {

/// Ends the run with a finding unless `holds`; `property` says what should have held.
inline void check(bool holds, const char *property)
{
    if (holds)
        return;
    std::fprintf(stderr, "Does not hold: %s\n", property);
    std::abort();
}

inline QByteArray inputBytes(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), qsizetype(size)};
}

} // namespace vorn
