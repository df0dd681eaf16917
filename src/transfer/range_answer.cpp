// SPDX-License-Identifier: Apache-2.0

#include "transfer/range_answer.h"

#include "transfer/transfer_protocol.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

bool statesRange(const HttpsHead &head, const FileRange &range)
{
    const std::optional<QString> text = head.single("Content-Range");
    const auto stated = text ? TransferProtocol::parseContentRange(*text) : std::nullopt;
    return stated == TransferProtocol::ContentRange{range.start, range.end, range.total};
}

bool statesFile(const HttpsHead &head, const QString &sha256)
{
    const std::optional<QString> digest = head.single("X-VORN-SHA256");
    const std::optional<QString> tag = head.single("ETag");
    return digest && TransferProtocol::normalizedSHA256(*digest) == sha256 && tag
           && TransferProtocol::normalizedETagDigest(*tag) == sha256;
}

} // namespace

void requireValidRange(const FileRange &range)
{
    require(range.start >= 0 && range.end >= range.start && range.end < range.total,
            u"Requested byte range is invalid."_s);
    require(range.length() <= TransferProtocol::chunkSize,
            u"Requested byte range exceeds the 8 MiB transfer limit."_s);
    require(TransferProtocol::isValidSHA256(range.sha256), u"Catalog SHA-256 is invalid."_s);
}

void requireAnswersRange(const HttpsHead &head, const FileRange &range)
{
    constexpr int partialContent = 206;
    if (head.status != partialContent)
        throw TransferProtocolError::http(head.status);
    const std::optional<QString> unit = head.single("Accept-Ranges");
    require(unit && unit->compare(u"bytes", Qt::CaseInsensitive) == 0,
            u"File server did not confirm byte-range support."_s);
    require(statesRange(head, range), u"File server returned the wrong byte range."_s);
    // libcurl holds the body to the declared length.
    require(head.contentLength() == range.length(),
            u"Downloaded chunk length does not match the requested range."_s);
    require(statesFile(head, range.sha256), u"File identity headers do not match the catalog."_s);
}

} // namespace vorn
