// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/phones.h"

#include "rig/base/compact_json.h"
#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"
#include "rig/film/take_documents.h"

#include <QUuid>

#include <algorithm>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr int stormTickMs = 5;
constexpr double usualLeadSeconds = 3;

// Names the sessions of the storm (RFC 9562 section 5.5); any fixed value does.
const QUuid stormNamespace(u"b6c3e1ce-4b52-4f7e-9a0e-2f6f2a8a3c11"_s);

MonotonicClock::time_point later(MonotonicClock::time_point from, double seconds)
{
    return from
           + std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

QByteArray stormPacket(qint64 index, qint64 sequence)
{
    const QString id = u"storm-%1"_s.arg(index + 1, 3, 10, QChar(u'0'));
    PhoneFacts facts;
    facts.castIndex = int(index % maximumCameras);
    facts.wall = {{640, 360}, 12};
    facts.selected = {{1280, 720}, 30};
    QJsonObject payload = statusPayload(facts);
    payload.insert(u"id"_s, id);
    payload.insert(u"name"_s, id);
    return compactJson(
        {{u"v"_s, 1},
         {u"type"_s, u"status"_s},
         {u"sender"_s, id},
         {u"sessionId"_s, QUuid::createUuidV5(stormNamespace, id).toString(QUuid::WithoutBraces)},
         {u"seq"_s, sequence},
         {u"payload"_s, payload}});
}

} // namespace

Phones::Phones(const PhonesOptions &options) : m_mediaFolder(options.media.folder)
{
    for (int index = 0; index < options.count; ++index) {
        const QHostAddress address(options.address.toIPv4Address() + quint32(index));
        m_phones.push_back(std::make_unique<Phone>(PhoneOptions{.castIndex = index,
                                                                .seed = options.seed,
                                                                .status = {address, options.port},
                                                                .previewPort = options.previewPort,
                                                                .desktop = options.desktop,
                                                                .transfer = options.transfer,
                                                                .wall = options.wall,
                                                                .selected = options.selected,
                                                                .media = options.media},
                                                   m_pictures));
        connect(m_phones.back().get(), &Phone::said, this, &Phones::said);
    }
    m_stormTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_stormTimer, &QTimer::timeout, this, &Phones::storm);
}

QString Phones::command(const QString &line)
{
    try {
        const QString answer = turn(line);
        return answer.isEmpty() ? u"ok"_s : u"ok "_s + answer;
    } catch (const SentenceError &error) {
        return u"error "_s + QString::fromUtf8(error.what());
    }
}

QString Phones::turn(const QString &line)
{
    const QString first = line.section(u' ', 0, 0);
    if (first == u"state")
        return QString::fromUtf8(compactJson(state()));
    if (first == u"help")
        return help().trimmed().replace(u'\n', u" | "_s);
    if (first == u"film")
        return QString::fromUtf8(compactJson(turnFilm(line.section(u' ', 1))));
    if (first == u"storm")
        turnStorm(line.section(u' ', 1));
    else
        turnPhones(first, line.section(u' ', 1, 1), line.section(u' ', 2));
    return {};
}

void Phones::turnPhones(const QString &target, const QString &name, const QString &value)
{
    bool isKnown = false;
    for (const auto &phone : m_phones)
        if (target == u"all" || target == phone->cameraId()) {
            phone->turn(name, value);
            isKnown = true;
        }
    if (!isKnown)
        throw RigError(u"there is no phone “%1”; try help"_s.arg(target));
}

void Phones::turnStorm(const QString &value)
{
    bool hasCount = false;
    bool hasRate = true;
    const int cameras = value.section(u' ', 0, 0).toInt(&hasCount);
    const QString rate = value.section(u' ', 1);
    const double perSecond = rate.isEmpty() ? cameras : rate.toDouble(&hasRate);
    if (!hasCount || !hasRate || cameras < 0 || cameras > 1'000'000
        || !(perSecond >= 0 && perSecond <= 100'000))
        throw RigError(u"a number of cameras is wanted, and perhaps packets a second"_s);
    m_stormCameras = cameras;
    m_stormPerSecond = perSecond;
    m_stormBegan = m_pictures.seconds();
    m_stormDue = 0;
    if (cameras == 0)
        m_stormTimer.stop();
    else
        m_stormTimer.start(stormTickMs);
}

void Phones::storm()
{
    const auto due = qint64((m_pictures.seconds() - m_stormBegan) * m_stormPerSecond);
    for (; m_stormDue < due; ++m_stormDue) {
        const qint64 camera = m_stormDue % m_stormCameras;
        // Sequences go on over the end of one storm into the next.
        const QByteArray packet = stormPacket(camera, m_stormSent++);
        m_phones[std::size_t(camera) % m_phones.size()]->sendForeign(packet);
    }
}

QJsonObject Phones::turnFilm(const QString &value)
{
    bool isNumber = true;
    const double lead = value.isEmpty() ? usualLeadSeconds : value.toDouble(&isNumber);
    if (!isNumber || !(lead >= 0 && lead <= 3600))
        throw RigError(u"seconds until the scene's second 0 are wanted, at most 3600"_s);
    if (m_mediaFolder.isEmpty())
        throw RigError(u"the phones have no --media"_s);
    const TakeTruth truth = takeTruth(m_mediaFolder + u"/truth.json"_s);
    for (const PhoneTruth &filmed : truth.phones)
        if (!(-filmed.offsetSeconds < lead))
            throw RigError(
                u"%1 begins %2 seconds before the scene's second 0"_s.arg(filmed.cameraId)
                    .arg(-filmed.offsetSeconds));
    double sceneRate = 1;
    for (const auto &phone : m_phones)
        if (phone->cameraId() == truth.referenceCameraId)
            sceneRate = phone->clockRate();
    const auto zero = later(MonotonicClock::now(), lead);
    for (const auto &phone : m_phones) {
        const auto filmed =
            std::ranges::find(truth.phones, phone->cameraId(), &PhoneTruth::cameraId);
        if (filmed == truth.phones.end())
            continue;
        phone->film({truth.takeId, later(zero, filmed->offsetSeconds / sceneRate),
                     later(zero, filmed->endSceneSeconds() / sceneRate)},
                    sceneRate / filmed->sceneSecondsPerMediaSecond());
    }
    return {{u"sceneZeroMonotonicSeconds"_s,
             std::chrono::duration<double>(zero.time_since_epoch()).count()},
            {u"sceneSecondsPerSecond"_s, sceneRate}};
}

QJsonObject Phones::state() const
{
    QJsonObject phones;
    for (const auto &phone : m_phones)
        phones.insert(phone->cameraId(), phone->state());
    return {{u"phones"_s, phones},
            {u"storm"_s, QJsonObject{{u"cameras"_s, m_stormCameras}, {u"sent"_s, m_stormSent}}},
            {u"pictures"_s,
             QJsonObject{{u"wanted"_s, m_pictures.wanted()}, {u"made"_s, m_pictures.made()}}}};
}

QString Phones::help()
{
    return u"Commands:\n"_s
           + helpLine(u"CAMERA|all SWITCH [VALUE]"_s, u"such as: cam-a loss 0.3, all restart")
           + helpLine(u"storm COUNT [PER-SECOND]"_s,
                      u"status packets of so many other cameras; 0 ends it")
           + helpLine(u"film [LEAD]"_s, u"all record the take of --media, whose second 0 is in 3 s")
           + helpLine(u"state"_s, u"what each phone sent and served, as JSON")
           + helpLine(u"help"_s, u"this list") + u"Switches:\n"_s + Phone::help();
}

} // namespace vorn::rig
