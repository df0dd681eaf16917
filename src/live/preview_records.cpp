// SPDX-License-Identifier: Apache-2.0

#include "live/preview_records.h"

#include "live/json_values.h"

#include <QJsonArray>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// The persistent request modes: 4 is the wall's picture, 5 the selected one.
bool holdsPersistentModes(const std::set<std::int64_t> &modes)
{
    return modes.contains(4) && modes.contains(5);
}

/// The elements of an array as `read` sees them; nothing when one of them is no such value.
template <class Element, class Read>
std::set<Element> elements(const QJsonValue &value, Read &&read)
{
    const QJsonArray array = value.toArray();
    if (array.size() > maximumPreviewSetSize)
        return {};
    std::set<Element> set;
    for (const auto &item : array) {
        std::optional<Element> element = read(item);
        if (!element)
            return {};
        set.insert(std::move(*element));
    }
    return set;
}

std::set<QString> lowerTexts(const QJsonValue &value)
{
    return elements<QString>(value, [](const QJsonValue &item) {
        return item.isString() ? std::optional(item.toString().toLower()) : std::nullopt;
    });
}

std::set<std::int64_t> integers(const QJsonValue &value)
{
    return elements<std::int64_t>(value, [](const QJsonValue &item) {
        return item.isDouble() ? intValue(item) : std::nullopt;
    });
}

std::set<QString> counters(const QJsonObject &object)
{
    std::set<QString> set;
    if (object.size() > maximumPreviewSetSize)
        return set;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const QJsonValue value = entry.value();
        if (const auto count = value.isDouble() ? intValue(value) : std::nullopt)
            set.insert(entry.key() + u'=' + QString::number(*count));
    }
    return set;
}

} // namespace

bool PreviewCapabilities::advertisesH264() const
{
    return codecs.contains(u"h264"_s) && transports.contains(u"h264-avcc-tcp-v1"_s);
}

bool PreviewCapabilities::supportsPersistentJPEG() const
{
    return transports.contains(u"jpeg-tcp-v1"_s) && holdsPersistentModes(persistentModes);
}

bool PreviewTransportStatus::isAdvertised() const
{
    return codec || !modes.empty();
}

bool PreviewTransportStatus::supportsPersistentJPEG() const
{
    return codec && codec->compare(u"JPEG"_s, Qt::CaseInsensitive) == 0
           && holdsPersistentModes(modes);
}

std::optional<PreviewCapabilities> decodePreviewCapabilities(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    if (intValue(object.value(u"v")) != 1)
        return std::nullopt;
    const QJsonObject link = object.value(u"link").toObject();
    return PreviewCapabilities{
        .version = 1,
        .transports = lowerTexts(object.value(u"transports")),
        .codecs = lowerTexts(object.value(u"codecs")),
        .requestModes = integers(object.value(u"requestModes")),
        .persistentModes = integers(object.value(u"persistentModes")),
        .wifiBandGHz = doubleValue(link.value(u"bandGHz")),
        .usableMbps = doubleValue(link.value(u"usableMbps")),
    };
}

std::optional<PreviewTransportStatus> decodePreviewTransport(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    PreviewTransportStatus status{
        .modes = integers(object.value(u"modes")),
        .codec = textValue(object.value(u"codec")),
        .policy = textValue(object.value(u"policy")),
        .wallTargetFPS = intValue(object.value(u"wallTargetFps")),
        .selectedTargetFPS = intValue(object.value(u"selectedTargetFps")),
        .thermalLevel = textValue(object.value(u"thermalLevel")),
        .connections = intValue(object.value(u"connections")),
        .deliveryLimitedClients = intValue(object.value(u"deliveryLimitedClients")),
        .pendingEncodeJobs = intValue(object.value(u"pendingEncodeJobs")),
        .encodeCounters = counters(object.value(u"encodeCounters").toObject()),
        .band = textValue(object.value(u"band")),
        .capacityMeasured = strictBoolean(object.value(u"capacityMeasured")).value_or(false),
        .fullStream4K = strictBoolean(object.value(u"fullStream4K")),
    };
    if (!status.codec && !status.policy && status.modes.empty())
        return std::nullopt;
    return status;
}

} // namespace vorn
