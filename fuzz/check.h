// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

/// The input as UTF-16, in which lone surrogates occur too.
inline QString inputUnits(const std::uint8_t *data, std::size_t size)
{
    QString units(qsizetype(size / sizeof(QChar)), Qt::Uninitialized);
    if (!units.isEmpty())
        std::memcpy(units.data(), data, std::size_t(units.size()) * sizeof(QChar));
    return units;
}

} // namespace vorn
