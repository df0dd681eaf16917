#include "rig/phone/preview_server.h"

#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"
#include "rig/phone/preview_connection.h"

#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

struct NamedFault {
    QStringView name;
    PreviewFault fault;
    QStringView about;
};

constexpr std::array namedFaults{
    NamedFault{u"ok", PreviewFault::none, u"nothing is wrong"},
    NamedFault{u"refuse", PreviewFault::refuse, u"nobody listens, connections end"},
    NamedFault{u"silent", PreviewFault::silent, u"accepts and reads, but never answers"},
    NamedFault{u"legacy-only", PreviewFault::legacyOnly,
               u"ends a connection that asks for a stream"},
    NamedFault{u"drop", PreviewFault::drop, u"ends the connection in the middle of a picture"},
    NamedFault{u"truncate", PreviewFault::truncate,
               u"a picture without its second half, its length told rightly"},
    NamedFault{u"huge", PreviewFault::huge, u"a picture of 2,097,153 bytes"},
    NamedFault{u"largest", PreviewFault::largest,
               u"a picture of 2,097,152 bytes, which is still to be read"},
    NamedFault{u"slow", PreviewFault::slow, u"four bytes a second"},
    NamedFault{u"wrong-length", PreviewFault::wrongLength,
               u"tells a hundred bytes more than the picture has"},
    NamedFault{u"zero", PreviewFault::zero, u"tells a length of nothing"},
    NamedFault{u"claim", PreviewFault::claim, u"tells four gigabytes"},
    NamedFault{u"garbage", PreviewFault::garbage, u"as long as a picture, but none"},
    NamedFault{u"bomb", PreviewFault::bomb, u"a few bytes that claim 65,500 by 65,500 pixels"},
};

} // namespace

std::optional<PreviewFault> previewFaultFromText(QStringView text)
{
    for (const NamedFault &entry : namedFaults)
        if (entry.name == text)
            return entry.fault;
    return std::nullopt;
}

QStringList previewFaultHelp()
{
    QStringList lines;
    for (const NamedFault &entry : namedFaults)
        lines += helpLine(entry.name.toString(), entry.about);
    return lines;
}

PreviewServer::PreviewServer(PictureStore &pictures, int castIndex,
                             std::function<QByteArray()> identity, QObject *parent)
    : QObject(parent), m_pictures(pictures), m_castIndex(castIndex), m_identity(std::move(identity))
{
    m_server.setListenBacklogSize(64);
    connect(&m_server, &QTcpServer::newConnection, this, &PreviewServer::accept);
}

void PreviewServer::open(const Endpoint &own)
{
    m_server.close();
    cutConnections();
    m_own = own;
    listen();
}

void PreviewServer::stop()
{
    m_isStopped = true;
    m_server.close();
    cutConnections();
}

void PreviewServer::resume()
{
    m_isStopped = false;
    listen();
}

void PreviewServer::listen()
{
    if (m_isStopped || m_fault == PreviewFault::refuse || m_server.isListening())
        return;
    if (!m_server.listen(m_own.address, m_own.port))
        throw RigError(u"TCP port %1 of %2 cannot be opened: %3."_s.arg(m_own.port)
                           .arg(m_own.address.toString(), m_server.errorString()));
    m_own.port = m_server.serverPort();
}

void PreviewServer::setFault(PreviewFault fault, int after)
{
    m_fault = fault;
    m_goodPictures = after;
    if (fault == PreviewFault::refuse) {
        m_server.close();
        cutConnections();
    }
    listen();
}

void PreviewServer::cutConnections()
{
    for (QTcpSocket *socket : m_server.findChildren<QTcpSocket *>())
        socket->abort();
}

void PreviewServer::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        ++m_accepted;
        // A phone keeps about one picture for a peer that does not read, not seconds of them.
        socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, 256 * 1024);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        new PreviewConnection(*this, *socket);
    }
}

QJsonObject PreviewServer::counts() const
{
    QJsonObject requests;
    for (const auto &[mode, count] : m_requests)
        requests.insert(QString::number(mode), count);
    QJsonObject frames;
    for (const auto &[mode, count] : m_frames)
        frames.insert(QString::number(mode), count);
    return {{u"accepted"_s, m_accepted}, {u"open"_s, connections()}, {u"requests"_s, requests},
            {u"frames"_s, frames},       {u"skipped"_s, m_skipped},  {u"bytes"_s, m_bytes}};
}

} // namespace vorn::rig
