// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/answer_faults.h"

#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"
#include "rig/base/switch_values.h"

#include <algorithm>
#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 largestBody = qint64{1} << 40;

struct NamedBodyFault {
    QStringView name;
    BodyFault fault;
    QStringView about;
};

constexpr std::array namedBodyFaults{
    NamedBodyFault{u"ok", BodyFault::none, u"nothing is wrong"},
    NamedBodyFault{u"silent", BodyFault::silent, u"never answers"},
    NamedBodyFault{u"short", BodyFault::shortened, u"N bytes less, told rightly"},
    NamedBodyFault{u"long", BodyFault::lengthened, u"N bytes more, told rightly"},
    NamedBodyFault{u"cut", BodyFault::cut, u"resets the connection after N bytes"},
    NamedBodyFault{u"end", BodyFault::ended, u"ends the connection after N bytes"},
    NamedBodyFault{u"hang", BodyFault::hanging, u"nothing more comes after N bytes"},
    NamedBodyFault{u"slow", BodyFault::slow, u"N bytes a second"},
    NamedBodyFault{u"chunked", BodyFault::chunked, u"in chunks, its length not told"},
    NamedBodyFault{u"endless", BodyFault::endless, u"in chunks that never end"},
    NamedBodyFault{u"wrong", BodyFault::wrong, u"the first byte is another"},
};

struct AnswerSwitch {
    QStringView name;
    QStringView value;
    QStringView about;
    void (*turn)(AnswerFaults &faults, const QString &value);
};

void turnBody(AnswerFaults &faults, const QString &value)
{
    const QString name = value.section(u' ', 0, 0);
    const QString number = value.section(u' ', 1);
    for (const NamedBodyFault &entry : namedBodyFaults)
        if (entry.name == name) {
            faults.body = entry.fault;
            faults.bodyNumber = number.isEmpty() ? 0 : wholeNumber(number, 0, largestBody);
            return;
        }
    throw RigError(u"one of the faults of help is wanted"_s);
}

void turnHeader(AnswerFaults &faults, const QString &value)
{
    using Kind = HeaderChange::Kind;
    const QByteArray name = keyOf(value).toUtf8();
    const QByteArray given = value.section(u' ', 1).toUtf8();
    if (given == "none")
        faults.headers.append({Kind::remove, name, {}});
    else if (given == "twice")
        faults.headers.append({Kind::twice, name, {}});
    else if (given.startsWith('+'))
        faults.headers.append({Kind::add, name, given.sliced(1)});
    else
        faults.headers.append({Kind::set, name, given});
}

const std::array answerSwitches{
    AnswerSwitch{u"ok", u"", u"nothing is wrong any more",
                 [](AnswerFaults &faults, const QString &) { faults = {}; }},
    AnswerSwitch{u"good", u"N", u"the faults begin after so many good answers",
                 [](AnswerFaults &faults, const QString &value) {
                     faults.goodAnswers = int(wholeNumber(value, 0, 1'000'000));
                 }},
    AnswerSwitch{u"status", u"CODE", u"another status; the rest stays",
                 [](AnswerFaults &faults, const QString &value) {
                     faults.status = int(wholeNumber(value, 100, 999));
                 }},
    AnswerSwitch{u"header", u"NAME none|twice|+VALUE|VALUE",
                 u"a header missing, doubled, added or set", turnHeader},
    AnswerSwitch{u"text", u"TEXT", u"another body",
                 [](AnswerFaults &faults, const QString &value) { faults.text = value.toUtf8(); }},
    AnswerSwitch{u"body", u"FAULT [N]", u"spoils the body, see below", turnBody},
};

bool isCalled(const HttpHeader &header, const QByteArray &name)
{
    return header.name.compare(name, Qt::CaseInsensitive) == 0;
}

void removeHeader(QList<HttpHeader> &headers, const QByteArray &name)
{
    headers.removeIf([&](const HttpHeader &header) { return isCalled(header, name); });
}

void setHeader(QList<HttpHeader> &headers, const QByteArray &name, const QByteArray &value)
{
    removeHeader(headers, name);
    headers.append({name, value});
}

void changeHeader(QList<HttpHeader> &headers, const HeaderChange &change)
{
    switch (change.kind) {
    case HeaderChange::Kind::set:
        setHeader(headers, change.name, change.value);
        break;
    case HeaderChange::Kind::remove:
        removeHeader(headers, change.name);
        break;
    case HeaderChange::Kind::twice:
        for (const HttpHeader &header : QList(headers))
            if (isCalled(header, change.name))
                headers.append(header);
        break;
    case HeaderChange::Kind::add:
        headers.append({change.name, change.value});
        break;
    }
}

void setLength(HttpAnswer &answer, qint64 length)
{
    answer.length = length;
    setHeader(answer.headers, "Content-Length", QByteArray::number(length));
}

// The content, with letters after its end.
ContentReader lengthened(const ContentReader &content, qint64 end)
{
    return [content, end](qint64 offset, std::span<char> into) {
        const auto inside = std::size_t(std::clamp<qint64>(end - offset, 0, qint64(into.size())));
        if (inside > 0)
            content(offset, into.first(inside));
        std::ranges::fill(into.subspan(inside), 'x');
    };
}

ContentReader withOneByteWrong(const ContentReader &content, qint64 place)
{
    return [content, place](qint64 offset, std::span<char> into) {
        content(offset, into);
        if (place >= offset && place < offset + qint64(into.size()))
            into[std::size_t(place - offset)] ^= 1;
    };
}

void spoilBody(HttpAnswer &answer, BodyFault fault, qint64 number)
{
    answer.goodBytes = number;
    switch (fault) {
    case BodyFault::none:
        break;
    case BodyFault::silent:
        answer.isSilent = true;
        break;
    case BodyFault::shortened:
        setLength(answer, std::max<qint64>(0, answer.length - number));
        break;
    case BodyFault::lengthened:
        answer.content = lengthened(answer.content, answer.offset + answer.length);
        setLength(answer, answer.length + number);
        break;
    case BodyFault::cut:
        answer.manner = BodyManner::cut;
        break;
    case BodyFault::ended:
        answer.manner = BodyManner::ended;
        break;
    case BodyFault::hanging:
        answer.manner = BodyManner::hanging;
        break;
    case BodyFault::slow:
        answer.bytesPerSecond = std::max<qint64>(1, number);
        break;
    case BodyFault::chunked:
    case BodyFault::endless:
        answer.manner = fault == BodyFault::chunked ? BodyManner::chunked : BodyManner::endless;
        removeHeader(answer.headers, "Content-Length");
        setHeader(answer.headers, "Transfer-Encoding", "chunked");
        break;
    case BodyFault::wrong:
        answer.content = withOneByteWrong(answer.content, answer.offset);
        break;
    }
}

} // namespace

void turnAnswerFault(AnswerFaults &faults, const QString &words)
{
    const QString name = words.section(u' ', 0, 0);
    for (const AnswerSwitch &entry : answerSwitches)
        if (entry.name == name)
            return entry.turn(faults, words.section(u' ', 1));
    throw RigError(u"there is no fault “%1”; try help"_s.arg(name));
}

QStringList answerFaultHelp()
{
    QStringList lines;
    for (const AnswerSwitch &entry : answerSwitches)
        lines += helpLine(entry.name.toString() + u' ' + entry.value.toString(), entry.about);
    lines += u"Faults of body:\n"_s;
    for (const NamedBodyFault &entry : namedBodyFaults)
        lines += helpLine(entry.name.toString(), entry.about);
    return lines;
}

HttpAnswer spoiled(HttpAnswer answer, const AnswerFaults &faults)
{
    if (faults.text) {
        answer.content = contentOf(*faults.text);
        answer.offset = 0;
        setLength(answer, faults.text->size());
    }
    if (faults.status != 0)
        answer.status = faults.status;
    spoilBody(answer, faults.body, faults.bodyNumber);
    for (const HeaderChange &change : faults.headers)
        changeHeader(answer.headers, change);
    return answer;
}

} // namespace vorn::rig
