// SPDX-License-Identifier: Apache-2.0

#include "live/transfer_mode_request.h"

#include "base/host_name.h"
#include "base/text_form.h"
#include "live/json_values.h"
#include "live/wire_text.h"

#include <QJsonDocument>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr int maximumNameCharacters = 32;

/// Where the first `count` characters, as people count them, end; the whole length if there are
/// fewer.
qsizetype endOfCharacters(const QString &text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (int i = 0; i < count; ++i) {
        if (finder.toNextBoundary() < 0)
            return text.size();
    }
    return finder.position();
}

QString messageOf(TransferModeStage stage, const QString &cameraName, const QString &reason)
{
    switch (stage) {
    case TransferModeStage::refused:
        return u"This camera is not ready for a transfer request."_s;
    case TransferModeStage::sent:
        return u"Request sent — approve on "_s + cameraName + u" within 30 seconds."_s;
    case TransferModeStage::unreachable:
        return u"The transfer request could not reach "_s + cameraName + u'.';
    case TransferModeStage::noSocket:
        return u"VORN network discovery is not available."_s;
    case TransferModeStage::pending:
        return u"Approve the request on "_s + cameraName + u" within 30 seconds."_s;
    case TransferModeStage::approved:
        return u"Approved — waiting for secure Transfer Mode."_s;
    case TransferModeStage::declined:
        return reason.isEmpty() ? u"Transfer Mode was declined."_s : reason;
    case TransferModeStage::expired:
        return u"Request expired — ask "_s + cameraName + u" again."_s;
    }
    Q_UNREACHABLE();
}

} // namespace

TransferModeRequestState transferModeState(TransferModeStage stage, const QString &requestID,
                                           const PendingTransferRequest &request,
                                           const QString &reason)
{
    const bool isGood = stage == TransferModeStage::sent || stage == TransferModeStage::pending
                        || stage == TransferModeStage::approved;
    return {.requestID = requestID,
            .cameraID = request.cameraID,
            .cameraName = request.cameraName,
            .message = messageOf(stage, request.cameraName, reason),
            .isFailure = !isGood};
}

QString cleanedCollectorName(const QString &name)
{
    const QString clean = name.simplified();
    return clean.isEmpty() ? unnamedComputer()
                           : clean.first(endOfCharacters(clean, maximumNameCharacters));
}

std::optional<QByteArray> transferModeRequestData(const QString &sender, const QString &target,
                                                  const QString &requestID,
                                                  const QString &collectorName, std::int64_t sentMs)
{
    if (!canonicalUuid(sender) || !isBoundedText(target, maximumIdBytes)
        || !isBoundedText(requestID, maximumRequestIdBytes) || collectorName.isEmpty()
        || endOfCharacters(collectorName, maximumNameCharacters) < collectorName.size())
        return std::nullopt;
    const QJsonObject payload{{u"action"_s, u"REQUEST_TRANSFER_MODE"_s},
                              {u"target"_s, target},
                              {u"requestId"_s, requestID},
                              {u"collectorName"_s, collectorName}};
    const QJsonObject envelope{{u"v"_s, 1},
                               {u"type"_s, u"command"_s},
                               {u"sender"_s, sender},
                               {u"sentMs"_s, qint64{sentMs}},
                               {u"payload"_s, payload}};
    return QJsonDocument(envelope).toJson(QJsonDocument::Compact);
}

void PendingTransferRequests::add(const QString &requestID, const PendingTransferRequest &request)
{
    m_requests.insert(requestID, request);
}

std::optional<PendingTransferRequest> PendingTransferRequests::remove(const QString &requestID)
{
    if (!m_requests.contains(requestID))
        return std::nullopt;
    return m_requests.take(requestID);
}

std::optional<TransferModeRequestState>
PendingTransferRequests::judge(const TransferModeResponse &response, const QString &host)
{
    const QString requestID = response.payload.value(u"requestId").toString();
    const auto found = m_requests.constFind(requestID);
    if (found == m_requests.cend() || response.sender != found->cameraID || host != found->host)
        return std::nullopt;
    if (const auto target = textValue(response.payload.value(u"target"));
        target && *target != found->collectorID)
        return std::nullopt;
    if (response.payload.value(u"action").toString() == u"TRANSFER_MODE_PENDING")
        return transferModeState(TransferModeStage::pending, requestID, *found);

    const PendingTransferRequest request = m_requests.take(requestID);
    if (strictBoolean(response.payload.value(u"accepted")) == true)
        return transferModeState(TransferModeStage::approved, requestID, request);
    return transferModeState(TransferModeStage::declined, requestID, request,
                             response.payload.value(u"error").toString().trimmed());
}

} // namespace vorn
