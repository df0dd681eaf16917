// SPDX-License-Identifier: Apache-2.0

#include "director/camera_status_text.h"

#include <QStringList>

#include <array>
#include <charconv>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr QStringView noCamera = u"No camera";
constexpr QStringView offline = u"Offline";
constexpr QStringView notAdvertised = u"Not advertised";
constexpr QStringView inactive = u"Advertised • inactive";

QString joined(const QStringList &parts)
{
    return parts.join(u" • ");
}

bool isOnline(const LiveCamera *camera, WallTime now)
{
    return camera && camera->isOnline(now);
}

// The rest of each word stays: "5 GHz" is right as it is.
QString withWordsCapitalised(QString text)
{
    bool startsWord = true;
    for (QChar &character : text) {
        if (startsWord)
            character = character.toUpper();
        startsWord = character.isSpace();
    }
    return text;
}

} // namespace

QString fixedText(double value, int decimals)
{
    // Qt's own formatting rounds a half up, and printf puts the locale's comma. The largest double
    // has 309 digits before the point.
    std::array<char, 400> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::fixed, decimals);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

QString selectedLinkStatus(const LiveCamera *camera, WallTime now)
{
    if (!camera)
        return noCamera.toString();
    if (!camera->isOnline(now))
        return offline.toString();
    const PreviewCapabilities &capabilities = camera->previewCapabilities;
    if (capabilities.wifiBandGHz && capabilities.usableMbps)
        return joined({fixedText(*capabilities.wifiBandGHz, 1) + u" GHz"_s,
                       fixedText(*capabilities.usableMbps, 0) + u" Mbps"_s});
    const PreviewTransportStatus &transport = camera->previewTransport;
    if (!transport.isAdvertised())
        return notAdvertised.toString();
    return joined({transport.band ? withWordsCapitalised(*transport.band) : u"Band unknown"_s,
                   transport.capacityMeasured ? u"measured"_s : u"unmeasured"_s});
}

QString advertisedTransportStatus(const LiveCamera *camera, WallTime now)
{
    if (!isOnline(camera, now))
        return offline.toString();
    const PreviewTransportStatus &transport = camera->previewTransport;
    if (!transport.isAdvertised())
        return notAdvertised.toString();
    QStringList parts{transport.codec.value_or(u"Unknown codec"_s)};
    if (transport.policy)
        parts << transport.policy->toUpper();
    if (transport.wallTargetFPS && transport.selectedTargetFPS)
        parts << u"%1/%2 fps"_s.arg(*transport.wallTargetFPS).arg(*transport.selectedTargetFPS);
    return joined(parts);
}

QString previewHealthStatus(const LiveCamera *camera, WallTime now)
{
    if (!isOnline(camera, now))
        return offline.toString();
    const PreviewTransportStatus &transport = camera->previewTransport;
    if (!transport.isAdvertised())
        return notAdvertised.toString();
    QStringList parts;
    if (transport.thermalLevel)
        parts << withWordsCapitalised(*transport.thermalLevel);
    if (const auto limited = transport.deliveryLimitedClients.value_or(0); limited > 0)
        parts << u"%1 limited"_s.arg(limited);
    if (transport.pendingEncodeJobs)
        parts << u"%1 pending"_s.arg(*transport.pendingEncodeJobs);
    return parts.isEmpty() ? u"Normal"_s : joined(parts);
}

QString transportStatus(VORNPreviewProfile profile, const LiveCamera *camera,
                        std::optional<Transport> transport)
{
    if (!camera)
        return noCamera.toString();
    if (!transport)
        return u"Negotiating…"_s;
    const bool isPersistent = *transport == Transport::persistent;
    const auto mode = isPersistent ? persistentMode(profile) : legacyMode(profile);
    return joined({u"JPEG mode %1"_s.arg(std::to_integer<int>(mode)),
                   isPersistent ? u"persistent"_s : u"fallback"_s});
}

QString h264Status(const LiveCamera *camera, WallTime now)
{
    if (!camera)
        return noCamera.toString();
    if (!camera->isOnline(now))
        return offline.toString();
    return (camera->previewCapabilities.advertisesH264() ? inactive : notAdvertised).toString();
}

QString fullStream4KStatus(const LiveCamera *camera, WallTime now)
{
    if (!isOnline(camera, now))
        return offline.toString();
    const std::optional<bool> advertised = camera->previewTransport.fullStream4K;
    if (!advertised)
        return notAdvertised.toString();
    return *advertised ? inactive.toString() : u"No • separate future path"_s;
}

} // namespace vorn
