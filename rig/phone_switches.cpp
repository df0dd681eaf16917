// The switches of a phone: what a test or a person can turn while it runs.

#include "rig/phone.h"
#include "rig/rig_error.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <initializer_list>
#include <utility>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

qint64 wholeNumber(const QString &text, qint64 least, qint64 most)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < least || value > most)
        throw RigError(u"a whole number from %1 to %2 is wanted"_s.arg(least).arg(most));
    return value;
}

double share(const QString &text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (!isNumber || !(value >= 0 && value <= 1))
        throw RigError(u"a share from 0 to 1 is wanted"_s);
    return value;
}

template <class Choice>
Choice choice(const QString &text, std::initializer_list<std::pair<QStringView, Choice>> choices)
{
    QStringList names;
    for (const auto &[name, value] : choices) {
        if (name == text)
            return value;
        names += name.toString();
    }
    throw RigError(u"one of these is wanted: "_s + names.join(u", "_s));
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
    static const std::vector<Switch> all{
        {u"loss", u"SHARE", u"of the datagrams never arrive", &Phone::turnLoss},
        {u"duplicate", u"SHARE", u"of them arrive twice", &Phone::turnDuplicate},
        {u"reorder", u"SHARE", u"of them arrive after the next one", &Phone::turnReorder},
        {u"delay", u"MS[-MS]", u"each takes so long", &Phone::turnDelay},
        {u"status", u"both|multicast|unicast|off", u"how status packets go out",
         &Phone::turnStatus},
        {u"interval", u"MS", u"between status packets (1000)", &Phone::turnInterval},
        {u"form", u"current|legacy|bare", u"stamped with session and sequence, clock, nothing",
         &Phone::turnForm},
        {u"clock", u"MS", u"sets the phone's clock off by that much", &Phone::turnClock},
        {u"restart", u"", u"new session, connections end", &Phone::turnRestart},
        {u"sleep", u"", u"silence; streams stand still", &Phone::turnSleep},
        {u"wake", u"", u"goes on", &Phone::turnWake},
        {u"move", u"ADDRESS", u"goes on from another address", &Phone::turnMove},
        {u"set", u"KEY JSON", u"a field of the payload", &Phone::turnSet},
        {u"unset", u"KEY", u"leaves the field out", &Phone::turnUnset},
        {u"envelope", u"KEY JSON", u"a field beside the payload", &Phone::turnEnvelope},
        {u"record", u"TAKE|off", u"says that it records", &Phone::turnRecord},
        {u"send", u"HEX|NAME", u"one datagram to the desktop; names: help send", &Phone::turnSend},
        {u"preview", u"FAULT [AFTER]", u"spoils pictures after so many good ones of a connection",
         &Phone::turnPreview},
        {u"drip", u"BYTES", u"a second, of preview slow (4)", &Phone::turnDrip},
        {u"identity", u"ok|zero|oversized|cut|garbage", u"spoils the answer to who it is",
         &Phone::turnIdentity},
        {u"wall", u"WxH@FPS", u"format of modes 1 and 4", &Phone::turnWall},
        {u"selected", u"WxH@FPS", u"format of modes 2 and 5", &Phone::turnSelected},
        {u"hold", u"landscape|turned|upright",
         u"turned: upright, and the desktop has to turn the picture", &Phone::turnHold},
        {u"render", u"", u"makes its pictures before they are asked for", &Phone::turnRender},
        {u"transfer", u"ask|approve|decline [TEXT]|pending|silent",
         u"what it does when asked for Transfer Mode", &Phone::turnTransfer},
        {u"approve", u"", u"answers the request that waits", &Phone::turnApprove},
        {u"decline", u"[TEXT]", u"answers the request that waits", &Phone::turnDecline},
        {u"answer", u"KEY JSON", u"a field of Transfer Mode answers", &Phone::turnAnswer},
        {u"reset", u"", u"all switches as in the beginning; the session stays", &Phone::turnReset},
    };
    return all;
}

QString Phone::turn(const QString &name, const QString &value)
{
    for (const Switch &entry : switches())
        if (entry.name == name)
            return (this->*entry.turn)(value);
    throw RigError(u"there is no switch “%1”; try help"_s.arg(name));
}

QString Phone::help()
{
    QString text;
    for (const Switch &entry : switches())
        text += u"  %1 %2\n        %3\n"_s.arg(entry.name, entry.value, entry.about);
    return text + u"Faults of preview: %1.\n"_s.arg(previewFaultNames().join(u", "_s))
           + u"Datagrams that send knows by name:\n  %1\n"_s.arg(
               hostilePacketHelp().join(u"\n  "_s));
}

QString Phone::turnLoss(const QString &value)
{
    m_link.faults.loss = share(value);
    return {};
}

QString Phone::turnDuplicate(const QString &value)
{
    m_link.faults.duplication = share(value);
    return {};
}

QString Phone::turnReorder(const QString &value)
{
    m_link.faults.reordering = share(value);
    return {};
}

QString Phone::turnDelay(const QString &value)
{
    const int least = int(wholeNumber(value.section(u'-', 0, 0), 0, 60'000));
    m_link.faults.maximumDelayMs =
        value.contains(u'-') ? int(wholeNumber(value.section(u'-', 1), least, 60'000)) : least;
    m_link.faults.minimumDelayMs = least;
    return {};
}

QString Phone::turnStatus(const QString &value)
{
    m_spread = choice<Spread>(value, {{u"both", Spread::both},
                                      {u"multicast", Spread::multicast},
                                      {u"unicast", Spread::unicast},
                                      {u"off", Spread::off}});
    return {};
}

QString Phone::turnInterval(const QString &value)
{
    m_statusTimer.setInterval(int(wholeNumber(value, 1, 3'600'000)));
    return {};
}

QString Phone::turnForm(const QString &value)
{
    m_form = choice<StatusForm>(value, {{u"current", StatusForm::current},
                                        {u"legacy", StatusForm::legacy},
                                        {u"bare", StatusForm::bare}});
    return {};
}

QString Phone::turnClock(const QString &value)
{
    constexpr qint64 century = 100LL * 366 * 86'400'000;
    m_clockOffsetMs = wholeNumber(value, -century, century);
    return {};
}

QString Phone::turnRestart(const QString &)
{
    m_preview.cutConnections();
    m_waiting.reset();
    beginSession();
    sendStatus();
    return {};
}

QString Phone::turnSleep(const QString &)
{
    m_preview.isAsleep = m_isAsleep = true;
    return {};
}

QString Phone::turnWake(const QString &)
{
    m_preview.isAsleep = m_isAsleep = false;
    sendStatus();
    return {};
}

QString Phone::turnMove(const QString &value)
{
    const QHostAddress address(value);
    if (address.protocol() != QAbstractSocket::IPv4Protocol)
        throw RigError(u"an IPv4 address is wanted"_s);
    m_link.open({address, m_own.port});
    m_preview.open({address, m_previewPort});
    m_own.address = address;
    sendStatus();
    return {};
}

void Phone::addChange(Changes &changes, const QString &value)
{
    const QString key = value.section(u' ', 0, 0);
    const QString json = value.section(u' ', 1);
    // One value in an array, since a document's root is an array or an object.
    const QJsonArray values = QJsonDocument::fromJson('[' + json.toUtf8() + ']').array();
    if (key.isEmpty() || values.size() != 1)
        throw RigError(u"a key and a value in JSON are wanted"_s);
    changes.insert_or_assign(key, values.first());
}

QString Phone::turnSet(const QString &value)
{
    addChange(m_payloadChanges, value);
    return {};
}

QString Phone::turnUnset(const QString &value)
{
    m_payloadChanges.insert_or_assign(value, QJsonValue(QJsonValue::Undefined));
    return {};
}

QString Phone::turnEnvelope(const QString &value)
{
    addChange(m_envelopeChanges, value);
    return {};
}

QString Phone::turnRecord(const QString &value)
{
    if (value.isEmpty())
        throw RigError(u"the name of a take is wanted, or off"_s);
    m_takeId = value == u"off" ? QString() : value;
    m_recordingSinceMs = m_takeId.isEmpty() ? 0 : clockMs();
    sendStatus();
    return {};
}

QString Phone::turnSend(const QString &value)
{
    const QByteArray hex = value.toLatin1();
    QByteArray datagram = QByteArray::fromHex(hex);
    if (datagram.isEmpty() || datagram.toHex() != hex.toLower()) {
        const std::optional<QByteArray> hostile = hostilePacket(value, nextStatus());
        if (!hostile)
            throw RigError(u"hexadecimal bytes or a name of help are wanted"_s);
        datagram = *hostile;
    }
    ++m_sent[u"raw"_s];
    sendForeign(datagram);
    return QString::number(datagram.size());
}

QString Phone::turnPreview(const QString &value)
{
    const std::optional<PreviewFault> fault = previewFaultFromText(value.section(u' ', 0, 0));
    if (!fault)
        throw RigError(u"one of these is wanted: "_s + previewFaultNames().join(u", "_s));
    const QString after = value.section(u' ', 1);
    m_preview.setFault(*fault, after.isEmpty() ? 0 : int(wholeNumber(after, 0, 1'000'000)));
    return {};
}

QString Phone::turnDrip(const QString &value)
{
    m_preview.dripBytesPerSecond = int(wholeNumber(value, 1, 100'000'000));
    return {};
}

QString Phone::turnIdentity(const QString &value)
{
    m_identityFault = choice<IdentityFault>(value, {{u"ok", IdentityFault::none},
                                                    {u"zero", IdentityFault::zero},
                                                    {u"oversized", IdentityFault::oversized},
                                                    {u"cut", IdentityFault::cut},
                                                    {u"garbage", IdentityFault::garbage}});
    return {};
}

QString Phone::turnWall(const QString &value)
{
    m_preview.wall = pictureFormat(value);
    return {};
}

QString Phone::turnSelected(const QString &value)
{
    m_preview.selected = pictureFormat(value);
    return {};
}

QString Phone::turnHold(const QString &value)
{
    m_preview.hold = choice<PreviewHold>(value, {{u"landscape", PreviewHold::landscape},
                                                 {u"turned", PreviewHold::turned},
                                                 {u"upright", PreviewHold::upright}});
    return {};
}

QString Phone::turnRender(const QString &)
{
    for (const PictureFormat &format : {m_preview.wall, m_preview.selected})
        (void)m_pictures.loop(m_options.castIndex, m_preview.hold, format);
    return {};
}

QString Phone::turnTransfer(const QString &value)
{
    const std::optional<TransferHabit> habit = transferHabitFromText(value.section(u' ', 0, 0));
    if (!habit)
        throw RigError(u"one of these is wanted: ask, approve, decline, pending, silent"_s);
    m_transfer = *habit;
    m_declineText = value.section(u' ', 1);
    return {};
}

QString Phone::turnApprove(const QString &)
{
    acknowledge(true, {});
    return {};
}

QString Phone::turnDecline(const QString &value)
{
    acknowledge(false, value);
    return {};
}

QString Phone::turnAnswer(const QString &value)
{
    addChange(m_answerChanges, value);
    return {};
}

QString Phone::turnReset(const QString &)
{
    resetSwitches();
    m_preview.setFault(PreviewFault::none, 0);
    if (m_own.address != m_options.status.address)
        turnMove(m_options.status.address.toString());
    return {};
}

} // namespace vorn::rig
