// SPDX-License-Identifier: Apache-2.0

// The switches of a phone: what a test or a person can turn while it runs.

#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"
#include "rig/base/switch_values.h"
#include "rig/phone/phone.h"

#include <cmath>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

double share(const QString &text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (!isNumber || !(value >= 0 && value <= 1))
        throw RigError(u"a share from 0 to 1 is wanted"_s);
    return value;
}

QHostAddress ipv4Address(const QString &text)
{
    const QHostAddress address(text);
    if (address.protocol() != QAbstractSocket::IPv4Protocol)
        throw RigError(u"an IPv4 address is wanted"_s);
    return address;
}

// "1280x720@30"
PictureFormat pictureFormat(const QString &text)
{
    const std::optional<PictureFormat> format = pictureFormatFromText(text);
    if (!format)
        throw RigError(u"a format such as 1280x720@30 is wanted, of at most 4096x4096@120"_s);
    return *format;
}

} // namespace

const std::vector<Phone::Switch> &Phone::switches()
{
    static const std::vector<Switch> all = [] {
        std::vector<Switch> list = linkSwitches();
        for (const auto &more : {statusSwitches(), previewSwitches(), transferSwitches()})
            list.insert(list.end(), more.begin(), more.end());
        return list;
    }();
    return all;
}

std::vector<Phone::Switch> Phone::linkSwitches()
{
    return {
        {u"loss", u"SHARE", u"of the datagrams never arrive",
         [](Phone &phone, const QString &value) { phone.m_link.faults.loss = share(value); }},
        {u"duplicate", u"SHARE", u"of them arrive twice",
         [](Phone &phone, const QString &value) {
             phone.m_link.faults.duplication = share(value);
         }},
        {u"reorder", u"SHARE", u"of them arrive after the next one",
         [](Phone &phone, const QString &value) { phone.m_link.faults.reordering = share(value); }},
        {u"delay", u"MS[-MS]", u"each takes so long",
         [](Phone &phone, const QString &value) {
             const qint64 least = wholeNumber(value.section(u'-', 0, 0), 0, 60'000);
             const bool isRange = value.contains(u'-');
             phone.m_link.faults.maximumDelayMs =
                 int(isRange ? wholeNumber(value.section(u'-', 1), least, 60'000) : least);
             phone.m_link.faults.minimumDelayMs = int(least);
         }},
        {u"sleep", u"", u"silence; streams stand still",
         [](Phone &phone, const QString &) { phone.m_preview.isAsleep = phone.m_isAsleep = true; }},
        {u"wake", u"", u"goes on",
         [](Phone &phone, const QString &) {
             phone.m_preview.isAsleep = phone.m_isAsleep = false;
             phone.sendStatus();
         }},
        {u"move", u"ADDRESS", u"goes on from another address",
         [](Phone &phone, const QString &value) { phone.move(ipv4Address(value)); }},
        {u"restart", u"", u"new session, connections end",
         [](Phone &phone, const QString &) {
             phone.m_preview.cutConnections();
             phone.m_transferServer.stop();
             phone.m_waiting.reset();
             phone.beginSession();
             phone.sendStatus();
         }},
        {u"reset", u"", u"all switches as in the beginning; the session stays",
         [](Phone &phone, const QString &) {
             phone.resetSwitches();
             phone.m_preview.setFault(PreviewFault::none, 0);
             if (phone.m_own.address != phone.m_options.status.address)
                 phone.move(phone.m_options.status.address);
         }},
    };
}

std::vector<Phone::Switch> Phone::statusSwitches()
{
    return {
        {u"status", u"both|multicast|unicast|off", u"how status packets go out",
         [](Phone &phone, const QString &value) {
             phone.m_spread = choice<Spread>(value, {{u"both", Spread::both},
                                                     {u"multicast", Spread::multicast},
                                                     {u"unicast", Spread::unicast},
                                                     {u"off", Spread::off}});
         }},
        {u"interval", u"MS", u"between status packets (1000)",
         [](Phone &phone, const QString &value) {
             phone.m_statusTimer.setInterval(int(wholeNumber(value, 1, 3'600'000)));
         }},
        {u"clock", u"MS [PPM]", u"sets the phone's clock off by that much, and lets it run fast",
         [](Phone &phone, const QString &value) { phone.setClock(value); }},
        {u"set", u"KEY JSON", u"a field of the payload",
         [](Phone &phone, const QString &value) {
             phone.m_payloadChanges.insert_or_assign(keyOf(value), jsonOf(value));
         }},
        {u"record", u"TAKE|off", u"says that it records",
         [](Phone &phone, const QString &value) {
             if (value.isEmpty())
                 throw RigError(u"the name of a take is wanted, or off"_s);
             phone.record(value == u"off"
                              ? std::nullopt
                              : std::optional(PhoneRecording{value, MonotonicClock::now()}));
             phone.sendStatus();
         }},
        {u"send", u"HEX|NAME", u"one datagram to the desktop; names below",
         [](Phone &phone, const QString &value) { phone.sendHostile(value); }},
    };
}

std::vector<Phone::Switch> Phone::previewSwitches()
{
    return {
        {u"preview", u"FAULT [AFTER]", u"spoils pictures after so many good ones of a connection",
         [](Phone &phone, const QString &value) {
             const std::optional<PreviewFault> fault =
                 previewFaultFromText(value.section(u' ', 0, 0));
             if (!fault)
                 throw RigError(u"one of the faults of help is wanted"_s);
             const QString after = value.section(u' ', 1);
             phone.m_preview.setFault(*fault,
                                      after.isEmpty() ? 0 : int(wholeNumber(after, 0, 1'000'000)));
         }},
        {u"identity", u"ok|garbage", u"spoils the answer to who it is",
         [](Phone &phone, const QString &value) {
             phone.m_isIdentityGarbage = choice<bool>(value, {{u"ok", false}, {u"garbage", true}});
         }},
        {u"wall", u"WxH@FPS", u"format of modes 1 and 4",
         [](Phone &phone, const QString &value) { phone.m_preview.wall = pictureFormat(value); }},
        {u"selected", u"WxH@FPS", u"format of modes 2 and 5",
         [](Phone &phone, const QString &value) {
             phone.m_preview.selected = pictureFormat(value);
         }},
        {u"hold", u"landscape|turned|upright",
         u"turned: upright, and the desktop has to turn the picture",
         [](Phone &phone, const QString &value) {
             phone.m_preview.hold =
                 choice<PreviewHold>(value, {{u"landscape", PreviewHold::landscape},
                                             {u"turned", PreviewHold::turned},
                                             {u"upright", PreviewHold::upright}});
         }},
        {u"render", u"", u"makes its pictures before they are asked for",
         [](Phone &phone, const QString &) {
             for (const PictureFormat &format : {phone.m_preview.wall, phone.m_preview.selected})
                 (void)phone.m_pictures.loop(phone.m_options.castIndex, phone.m_preview.hold,
                                             format);
         }},
    };
}

std::vector<Phone::Switch> Phone::transferSwitches()
{
    return {
        {u"transfer", u"ask|approve|decline [TEXT]|pending|silent",
         u"what it does when asked for Transfer Mode",
         [](Phone &phone, const QString &value) {
             const std::optional<TransferHabit> habit =
                 transferHabitFromText(value.section(u' ', 0, 0));
             if (!habit)
                 throw RigError(u"ask, approve, decline, pending or silent is wanted"_s);
             phone.m_transfer = *habit;
             phone.m_declineText = value.section(u' ', 1);
         }},
        {u"approve", u"", u"answers the request that waits",
         [](Phone &phone, const QString &) { phone.acknowledge(true, {}); }},
        {u"decline", u"[TEXT]", u"answers the request that waits",
         [](Phone &phone, const QString &value) { phone.acknowledge(false, value); }},
        {u"server", u"on|off", u"goes into Transfer Mode, once more if it is there, or out",
         [](Phone &phone, const QString &value) {
             if (choice<bool>(value, {{u"on", true}, {u"off", false}}))
                 phone.m_transferServer.begin(phone.m_own.address);
             else
                 phone.m_transferServer.stop();
         }},
    };
}

void Phone::setClock(const QString &value)
{
    constexpr qint64 century = 100LL * 366 * 86'400'000;
    constexpr double maximumPPM = 2000;
    const qint64 offsetMs = wholeNumber(value.section(u' ', 0, 0), -century, century);
    const QString fast = value.section(u' ', 1);
    if (!fast.isEmpty()) {
        bool isNumber = false;
        const double ppm = fast.toDouble(&isNumber);
        if (!isNumber || !(std::abs(ppm) <= maximumPPM))
            throw RigError(u"parts per million from -2000 to 2000 are wanted"_s);
        if (m_recording && m_recording->end != MonotonicClock::time_point::max()
            && MonotonicClock::now() < m_recording->end)
            throw RigError(u"while it films, its clock runs as its movie does"_s);
        m_clock.setRate(1 + ppm / 1'000'000);
    }
    m_clock.set(std::chrono::milliseconds(offsetMs));
    if (m_recording && MonotonicClock::now() < m_recording->begin)
        m_recordingSinceMs = m_clock.ms(m_recording->begin);
}

void Phone::turn(const QString &name, const QString &value)
{
    for (const Switch &entry : switches())
        if (entry.name == name)
            return entry.turn(*this, value);
    if (m_transferServer.turn(name, value))
        return;
    throw RigError(u"there is no switch “%1”; try help"_s.arg(name));
}

QString Phone::help()
{
    QString text;
    for (const Switch &entry : switches())
        text += helpLine(entry.name.toString() + u' ' + entry.value.toString(), entry.about);
    return text + u"Faults of preview:\n"_s + previewFaultHelp().join(QString())
           + u"Datagrams of send:\n"_s + hostilePacketHelp().join(QString())
           + u"Switches of Transfer Mode's server:\n"_s + TransferServer::help();
}

} // namespace vorn::rig
