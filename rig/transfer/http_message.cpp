// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/http_message.h"

#include "rig/base/rig_error.h"

#include <algorithm>
#include <cstring>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maximumPartBytes = 65'536;

QByteArray reasonOf(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 302:
        return "Found";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 416:
        return "Range Not Satisfiable";
    default:
        return "Other";
    }
}

HttpRequest headOf(const QByteArray &head)
{
    QByteArrayList lines = head.split('\n');
    for (QByteArray &line : lines)
        if (line.endsWith('\r'))
            line.chop(1);
    const QByteArrayList words = lines.takeFirst().split(' ');
    if (words.size() != 3 || words[2] != "HTTP/1.1")
        throw RigError(u"That is no request of HTTP/1.1."_s);
    HttpRequest request{words[0], words[1], {}, {}};
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon < 1)
            throw RigError(u"That is no header."_s);
        request.headers.append({line.first(colon), line.sliced(colon + 1).trimmed()});
    }
    return request;
}

qsizetype bodyLength(const HttpRequest &request)
{
    if (request.header("Transfer-Encoding"))
        throw RigError(u"A body has to tell its length."_s);
    const std::optional<QByteArray> text = request.header("Content-Length");
    bool isNumber = true;
    const qsizetype length = text ? text->toLongLong(&isNumber) : 0;
    if (!isNumber || length < 0 || length > maximumPartBytes)
        throw RigError(u"The body is too long."_s);
    return length;
}

} // namespace

std::optional<QByteArray> HttpRequest::header(QByteArrayView name) const
{
    std::optional<QByteArray> found;
    for (const HttpHeader &candidate : headers)
        if (candidate.name.compare(name, Qt::CaseInsensitive) == 0) {
            if (found)
                return std::nullopt;
            found = candidate.value;
        }
    return found;
}

std::optional<HttpRequest> HttpRequestReader::next()
{
    static constexpr QByteArrayView headEnd = "\r\n\r\n";
    const qsizetype end = m_pending.indexOf(headEnd);
    if (end > maximumPartBytes || (end < 0 && m_pending.size() > maximumPartBytes))
        throw RigError(u"The head is too long."_s);
    if (end < 0)
        return std::nullopt;
    HttpRequest request = headOf(m_pending.first(end));
    const qsizetype length = bodyLength(request);
    const qsizetype bodyBegin = end + headEnd.size();
    if (m_pending.size() < bodyBegin + length)
        return std::nullopt;
    request.body = m_pending.sliced(bodyBegin, length);
    m_pending.remove(0, bodyBegin + length);
    return request;
}

ContentReader contentOf(const QByteArray &bytes)
{
    return [bytes](qint64 offset, std::span<char> into) {
        std::memcpy(into.data(), bytes.constData() + offset, into.size());
    };
}

QByteArray HttpAnswer::head() const
{
    QByteArray text = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonOf(status) + "\r\n";
    for (const HttpHeader &header : headers)
        text += header.name + ": " + header.value + "\r\n";
    return text + "\r\n";
}

HttpAnswer textAnswer(int status, const QByteArray &type, const QByteArray &text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.headers = {{"Content-Type", type},
                      {"Content-Length", QByteArray::number(text.size())},
                      {"Cache-Control", "no-store"}};
    answer.content = contentOf(text);
    answer.length = text.size();
    return answer;
}

std::optional<std::pair<qint64, qint64>> requestedRange(const QByteArray &header, qint64 total)
{
    static constexpr QByteArrayView unit = "bytes=";
    const qsizetype dash = header.indexOf('-');
    if (!header.startsWith(unit) || dash < 0)
        return std::nullopt;
    bool hasFirst = false;
    bool hasLast = false;
    qint64 first = header.sliced(unit.size(), dash - unit.size()).toLongLong(&hasFirst);
    const QByteArray lastText = header.sliced(dash + 1);
    qint64 last = lastText.toLongLong(&hasLast);
    if (!hasFirst || (!hasLast && !lastText.isEmpty()))
        return std::nullopt;
    last = hasLast ? std::min(last, total - 1) : total - 1;
    if (first < 0 || first > last)
        return std::nullopt;
    return std::pair(first, last);
}

} // namespace vorn::rig
