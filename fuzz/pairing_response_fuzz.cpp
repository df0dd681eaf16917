// SPDX-License-Identifier: Apache-2.0

// Any bytes as a camera's answer to a pairing.

#include "check.h"
#include "library/record_json.h"
#include "transfer/pairing_messages.h"
#include "transfer/transfer_error.h"

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

void checkExpiry(const PairingResponse &response)
{
    const auto now = QDateTime::fromString(u"2026-01-31T09:30:00Z"_s, Qt::ISODate);
    try {
        const QDateTime expiry = checkedExpiry(response, {}, QString(64, u'a'), now);
        check(now < expiry && now.msecsTo(expiry) <= 930'000, "a session has an end, and soon");
        check(response.bearerToken.size() >= 32 && response.foregroundOnly,
              "what is granted is whole");
    } catch (const TransferProtocolError &) {
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray body = inputBytes(data, size);
    const QByteArray original(body.constData(), body.size());
    PairingResponse response;
    try {
        response = pairingResponseFromJson(body);
    } catch (const JsonError &) {
        return 0;
    }
    const QByteArray token(response.bearerToken.data(), qsizetype(response.bearerToken.size()));
    const QJsonValue read = parseJsonObject(original, u"document"_s).value(u"bearerToken"_s);
    check(read.isString() && read.toString().toUtf8() == token, "the token is the document's");
    checkExpiry(response);
    return 0;
}
