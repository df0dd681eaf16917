// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonValue>
#include <QString>

#include <cmath>
#include <cstdint>
#include <optional>

/// What a JSON value of a packet says, read in one of four ways. An undefined value, as a missing
/// key gives, reads as absent, and so does a value of another type.
namespace vorn {

/// A number without a fraction in the signed 64-bit range: 1 and 1.0, but neither true nor 1.5.
[[nodiscard]] inline std::optional<std::int64_t> exactInteger(const QJsonValue &value)
{
    // Qt gives the default for whatever is no such number; two defaults tell it from a value.
    const qint64 integer = value.toInteger(0);
    if (integer != value.toInteger(1))
        return std::nullopt;
    return integer;
}

/// true or false only.
[[nodiscard]] inline std::optional<bool> strictBoolean(const QJsonValue &value)
{
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

/// A number, truncated toward zero, or a boolean as 1 or 0. Absent beyond the signed 64-bit range.
[[nodiscard]] inline std::optional<std::int64_t> intValue(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    if (const auto exact = exactInteger(value))
        return exact;
    const double number = value.toDouble(NAN);
    // 2^63 itself does not fit; both bounds are exact as doubles. Refuses NaN too.
    if (!(number >= -0x1p63 && number < 0x1p63))
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

/// A number, or a boolean as 1 or 0.
[[nodiscard]] inline std::optional<double> doubleValue(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1.0 : 0.0;
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

[[nodiscard]] inline std::optional<QString> textValue(const QJsonValue &value)
{
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

} // namespace vorn
