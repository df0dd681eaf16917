#include "rig/preview_server.h"

#include "rig/preview_connection.h"
#include "rig/rig_error.h"

#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

struct FaultName {
    QStringView name;
    PreviewFault fault;
};

constexpr std::array faultNames{
    FaultName{u"ok", PreviewFault::none},
    FaultName{u"refuse", PreviewFault::refuse},
    FaultName{u"silent", PreviewFault::silent},
    FaultName{u"legacy-only", PreviewFault::legacyOnly},
    FaultName{u"drop", PreviewFault::drop},
    FaultName{u"truncate", PreviewFault::truncate},
    FaultName{u"huge", PreviewFault::huge},
    FaultName{u"largest", PreviewFault::largest},
    FaultName{u"slow", PreviewFault::slow},
    FaultName{u"wrong-length", PreviewFault::wrongLength},
    FaultName{u"zero", PreviewFault::zero},
    FaultName{u"claim", PreviewFault::claim},
    FaultName{u"garbage", PreviewFault::garbage},
    FaultName{u"bomb", PreviewFault::bomb},
};

} // namespace

std::optional<PreviewFault> previewFaultFromText(QStringView text)
{
    for (const FaultName &entry : faultNames)
        if (entry.name == text)
            return entry.fault;
    return std::nullopt;
}

QStringList previewFaultNames()
{
    QStringList names;
    for (const FaultName &entry : faultNames)
        names += entry.name.toString();
    return names;
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
    cutConnections();
    m_own = own;
    listen();
}

void PreviewServer::listen()
{
    m_server.close();
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
    } else if (!m_server.isListening()) {
        listen();
    }
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
