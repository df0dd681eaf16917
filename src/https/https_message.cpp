// SPDX-License-Identifier: Apache-2.0

#include "https/https_message.h"

#include "base/text_form.h"

#include <algorithm>

namespace vorn {
namespace {

bool isNamed(const HttpsHead::Header &header, QByteArrayView name)
{
    return header.name.compare(name, Qt::CaseInsensitive) == 0;
}

} // namespace

int HttpsHead::count(QByteArrayView name) const
{
    return int(std::ranges::count_if(headers,
                                     [&](const Header &header) { return isNamed(header, name); }));
}

std::optional<QString> HttpsHead::single(QByteArrayView name) const
{
    if (count(name) != 1)
        return std::nullopt;
    const auto found =
        std::ranges::find_if(headers, [&](const Header &header) { return isNamed(header, name); });
    return QString::fromLatin1(found->value);
}

std::optional<std::int64_t> HttpsHead::contentLength() const
{
    const std::optional<QString> text = single("Content-Length");
    if (!text || count("Transfer-Encoding") > 0)
        return std::nullopt;
    return digitsOnly(*text);
}

void requireSoundBody(const HttpsHead &head)
{
    const auto isOnly = [&](QByteArrayView name, QLatin1StringView value) {
        const std::optional<QString> text = head.single(name);
        return text && text->compare(value, Qt::CaseInsensitive) == 0;
    };
    const bool isLengthClear = head.count("Content-Length") == 0 || head.contentLength();
    const bool isPlainTransfer = head.count("Transfer-Encoding") == 0
                                 || isOnly("Transfer-Encoding", QLatin1StringView("chunked"));
    const bool isPlainContent = head.count("Content-Encoding") == 0
                                || isOnly("Content-Encoding", QLatin1StringView("identity"));
    const bool isInParts = std::ranges::any_of(head.headers, [](const HttpsHead::Header &header) {
        return isNamed(header, "Content-Type") && header.value.toLower().startsWith("multipart/");
    });
    if (!isLengthClear || !isPlainTransfer || !isPlainContent || isInParts)
        throw HttpsError(HttpsError::Case::malformed);
}

} // namespace vorn
