// SPDX-License-Identifier: Apache-2.0

#include "drift/rate_text.h"

#include "drift/drift_error.h"

#include <QList>

#include <charconv>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// A decimal number that is the whole of `text`. QString::toDouble would let blanks around it pass.
std::optional<double> decimalNumber(QStringView text)
{
    const QByteArray bytes = text.toUtf8();
    const char *first = bytes.constBegin();
    const char *const last = bytes.constEnd();
    if (bytes.startsWith('+') && !bytes.startsWith("+-"))
        ++first; // std::from_chars knows no plus sign before a number
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

double DriftEngine::fpsValue(const QString &text)
{
    const auto pieces = QStringView(text).split(u'/', Qt::SkipEmptyParts);
    if (pieces.size() == 2) {
        const auto numerator = decimalNumber(pieces[0]);
        const auto denominator = decimalNumber(pieces[1]);
        if (numerator && denominator && *denominator > 0)
            return *numerator / *denominator;
    }
    const auto value = decimalNumber(text);
    if (!value || !(*value > 0))
        throw DriftExportError::invalid(u"Invalid timeline frame rate."_s);
    return *value;
}

} // namespace vorn
