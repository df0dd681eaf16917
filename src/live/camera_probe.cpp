// SPDX-License-Identifier: Apache-2.0

#include "live/camera_probe.h"

#include "live/ports.h"
#include "net/ipv4_socket.h"

#include <QtEndian>

#include <array>
#include <cerrno>
#include <span>

namespace vorn {
namespace {

constexpr std::array identityRequest{std::byte{0x03}};
constexpr qsizetype lengthBytes = 4;

} // namespace

CameraProbe::CameraProbe(const QString &host, QObject *parent)
    : QObject(parent), m_socket(beginConnection(host, previewPort)), m_answer(lengthBytes, '\0')
{
    m_deadline.setSingleShot(true);
    m_deadline.setTimerType(Qt::PreciseTimer);
    m_deadline.callOnTimeout(this, [this] { finish({}); });
    // Whoever makes a probe hears of its end later, never from within: without a network all
    // fail at once.
    m_deadline.start(m_socket.isOpen() ? patience : std::chrono::milliseconds{0});
    if (!m_socket.isOpen())
        return;
    m_writable = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Write);
    connect(m_writable.get(), &QSocketNotifier::activated, this, &CameraProbe::ask);
}

void CameraProbe::ask()
{
    m_writable->setEnabled(false);
    const int error = connectionError(m_socket);
    if (error == 0)
        m_reach = Reach::silent;
    else if (error == ECONNREFUSED)
        m_reach = Reach::refused;
    if (error != 0 || sendBytes(m_socket, identityRequest) != identityRequest.size()) {
        finish({});
        return;
    }
    m_readable = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &CameraProbe::read);
}

void CameraProbe::read()
{
    if (!readOn()) {
        finish({});
    } else if (m_answer.size() > lengthBytes && m_received == m_answer.size()) {
        const auto bytes = std::as_bytes(std::span(std::as_const(m_answer)));
        finish(decodePacket(bytes.subspan(lengthBytes)));
    }
}

bool CameraProbe::readOn()
{
    const auto missing =
        std::as_writable_bytes(std::span(m_answer)).subspan(std::size_t(m_received));
    const std::optional<std::size_t> count = receiveBytes(m_socket, missing);
    if (!count)
        return false;
    m_received += qsizetype(*count);
    if (m_answer.size() > lengthBytes || m_received < lengthBytes)
        return true;
    const auto length = qFromBigEndian<std::uint32_t>(m_answer.constData());
    if (length == 0 || length > maximumPacketBytes)
        return false;
    m_answer.resize(lengthBytes + qsizetype(length));
    return true;
}

void CameraProbe::finish(const std::optional<LiveCameraPacket> &answer)
{
    if (m_isFinished)
        return;
    m_isFinished = true;
    if (answer)
        m_reach = Reach::answered;
    m_deadline.stop();
    // Disabled and not deleted: one of them may be what called.
    if (m_writable)
        m_writable->setEnabled(false);
    if (m_readable)
        m_readable->setEnabled(false);
    m_socket = {};
    Q_EMIT finished(answer);
}

} // namespace vorn
