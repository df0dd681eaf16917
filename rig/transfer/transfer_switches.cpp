// SPDX-License-Identifier: Apache-2.0

// The switches of a transfer server: what a test or a person can turn while it runs.

#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"
#include "rig/base/switch_values.h"
#include "rig/transfer/transfer_server.h"

#include <QJsonArray>

#include <algorithm>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

// The place in an array of a part of a path; the length of the array for "-".
qsizetype placeIn(const QJsonArray &array, const QString &part)
{
    return part == u"-" ? array.size() : wholeNumber(part, 0, array.size());
}

// The value at a path, with its parts still to go; none where the path leads nowhere.
QJsonValue valueAt(const QJsonValue &from, QStringList path)
{
    if (path.isEmpty())
        return from;
    const QString part = path.takeFirst();
    if (from.isArray())
        return valueAt(from.toArray().at(placeIn(from.toArray(), part)), path);
    return valueAt(from.toObject().value(part), path);
}

// `in` with another value at a path; without what is there for an undefined value.
QJsonValue withValueAt(const QJsonValue &in, QStringList path, const QJsonValue &value)
{
    if (path.isEmpty())
        return value;
    const QString part = path.takeFirst();
    if (!in.isArray()) {
        QJsonObject object = in.toObject();
        object.insert(part, withValueAt(object.value(part), path, value));
        return object;
    }
    QJsonArray array = in.toArray();
    const qsizetype place = placeIn(array, part);
    const QJsonValue changed = withValueAt(array.at(place), path, value);
    if (place == array.size())
        array.append(changed);
    else if (changed.isUndefined())
        array.removeAt(place);
    else
        array.replace(place, changed);
    return array;
}

// Of "/projects/0/name".
QStringList pathOf(const QString &text)
{
    if (!text.startsWith(u'/') || text.size() < 2)
        throw RigError(u"a path such as /projects/0/name is wanted"_s);
    return text.sliced(1).split(u'/');
}

QString routeName(const QString &text)
{
    static const QStringList routes{u"pair"_s, u"catalog"_s, u"files"_s, u"end"_s};
    if (!routes.contains(text))
        throw RigError(u"one of these is wanted: "_s + routes.join(u", "_s));
    return text;
}

} // namespace

const std::array<TransferServer::NamedTlsFault, 3> TransferServer::tlsFaults{{
    {u"ok", TlsFault::none, u"nothing is wrong"},
    {u"other", TlsFault::otherCertificate, u"another certificate than the one that is shown"},
    {u"silent", TlsFault::silent, u"accepts, and says nothing"},
}};

const std::vector<TransferServer::Switch> &TransferServer::switches()
{
    static const std::vector<Switch> all{
        {u"code", u"[DIGITS]", u"shows another code, for another pairing",
         [](TransferServer &server, const QString &value) {
             if (server.m_isOver)
                 throw RigError(u"the phone is not in Transfer Mode"_s);
             server.m_session.setCode(value);
             Q_EMIT server.begun();
         }},
        {u"txt", u"KEY TEXT|none", u"an attribute of the announcement, also of the next",
         [](TransferServer &server, const QString &value) {
             std::optional<QByteArray> text = value.section(u' ', 1).toUtf8();
             if (text == "none")
                 text.reset();
             server.m_textChanges.insert_or_assign(keyOf(value), text);
             if (server.m_announcement)
                 server.m_announcement->setText(server.announcedText());
         }},
        {u"expiry", u"SECONDS", u"that the next pairing lasts (900)",
         [](TransferServer &server, const QString &value) {
             server.m_seconds = int(wholeNumber(value, -1'000'000, 1'000'000));
         }},
        {u"pair", u"KEY JSON|none", u"a field of the answer to a pairing",
         [](TransferServer &server, const QString &value) {
             server.m_pairChanges.insert_or_assign(keyOf(value), jsonOrNone(value));
         }},
        {u"catalog", u"PATH JSON|none", u"such as /projects/0/takes/0/clips/0/finalized false",
         [](TransferServer &server, const QString &value) {
             server.m_catalog =
                 withValueAt(server.m_catalog, pathOf(keyOf(value)), jsonOrNone(value)).toObject();
         }},
        {u"catalog-copy", u"PATH PATH", u"such as /projects/0 /projects/-, the end of the list",
         [](TransferServer &server, const QString &value) {
             const QJsonValue copied = valueAt(server.m_catalog, pathOf(keyOf(value)));
             server.m_catalog =
                 withValueAt(server.m_catalog, pathOf(value.section(u' ', 1)), copied).toObject();
         }},
        {u"tls", u"FAULT", u"from the next connection on, see below",
         [](TransferServer &server, const QString &value) {
             const auto *fault = std::ranges::find(tlsFaults, value, &NamedTlsFault::name);
             if (fault == tlsFaults.end())
                 throw RigError(u"one of the faults of help is wanted"_s);
             server.m_tlsFault = fault->fault;
             server.makeContext();
         }},
        {u"hang-up", u"", u"ends all connections of Transfer Mode",
         [](TransferServer &server, const QString &) { server.cutConnections(); }},
        {u"http", u"pair|catalog|files|end FAULT", u"spoils the answers of one kind, see below",
         [](TransferServer &server, const QString &value) {
             turnAnswerFault(server.m_answerFaults[routeName(value.section(u' ', 0, 0))],
                             value.section(u' ', 1));
         }},
    };
    return all;
}

bool TransferServer::turn(const QString &name, const QString &value)
{
    for (const Switch &entry : switches())
        if (entry.name == name) {
            entry.turn(*this, value);
            return true;
        }
    return false;
}

QString TransferServer::help()
{
    QString text;
    for (const Switch &entry : switches())
        text += helpLine(entry.name.toString() + u' ' + entry.value.toString(), entry.about);
    text += u"Faults of tls:\n"_s;
    for (const NamedTlsFault &entry : tlsFaults)
        text += helpLine(entry.name.toString(), entry.about);
    return text + u"Faults of http:\n"_s + answerFaultHelp().join(QString());
}

} // namespace vorn::rig
