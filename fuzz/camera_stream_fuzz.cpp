// SPDX-License-Identifier: Apache-2.0

// Any bytes as what a camera sends over its preview connection, in pieces of the size that the
// first byte gives: to the client of pictures, and to the probe that asks who it is.

#include "check.h"
#include "live/camera_probe.h"
#include "media/jpeg_decoder.h"
#include "preview/preview_client.h"
#include "tcp_server.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QtEndian>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace vorn;
namespace client = vorn::VORNPreviewClient;

namespace {

constexpr qsizetype prefixBytes = client::lengthPrefixBytes;

/// A camera of this process's own address: the port is the same for all.
class Camera {
public:
    Camera()
        : host(u"127.1.%1.%2"_s.arg((::getpid() >> 8) & 255).arg(::getpid() & 255)),
          m_server([this](TcpPeer &peer) { serve(peer); }, host, client::port)
    {
    }

    /// From the next connection on; one may still be served that the client has left.
    void willSend(const QByteArray &stream, qsizetype pieceBytes)
    {
        const std::scoped_lock lock(m_mutex);
        m_pieces.clear();
        for (qsizetype at = 0; at < stream.size(); at += pieceBytes)
            m_pieces.push_back(stream.mid(at, pieceBytes));
    }

    const QString host;

private:
    void serve(TcpPeer &peer)
    {
        if (peer.receive(1).isEmpty())
            return;
        const auto pieces = [this] {
            const std::scoped_lock lock(m_mutex);
            return m_pieces;
        }();
        for (const QByteArray &piece : pieces)
            if (!peer.send(piece))
                return;
    }

    std::mutex m_mutex;
    QByteArrayList m_pieces;
    TcpServer m_server;
};

struct Expected {
    std::vector<QSize> frames;
    VORNPreviewError::Case end = VORNPreviewError::Case::transportFailed;
};

/// None where a picture would take long.
std::optional<Expected> expectedOf(QByteArrayView stream)
{
    using enum VORNPreviewError::Case;
    constexpr int mostPixels = 300'000;
    Expected expected;
    JPEGDecoder decoder;
    while (stream.size() >= prefixBytes) {
        const auto length = qFromBigEndian<quint32>(stream.data());
        if (length == 0 || length > client::maximumFrameBytes) {
            expected.end = invalidLength;
            return expected;
        }
        if (stream.size() - prefixBytes < qsizetype(length))
            return expected;
        const auto jpeg = std::as_bytes(std::span(stream.sliced(prefixBytes, length)));
        const auto header = readJPEGHeader(jpeg);
        if (header && header->width * header->height > mostPixels)
            return std::nullopt;
        const auto picture = client::isJPEG(jpeg) ? decoder.decode(jpeg) : std::nullopt;
        if (!picture) {
            expected.end = invalidJPEG;
            return expected;
        }
        expected.frames.push_back(picture->image.size());
        stream = stream.sliced(prefixBytes + length);
    }
    return expected;
}

void checkPreview(const Camera &camera, const Expected &expected)
{
    const StopSignal never;
    std::vector<QSize> frames;
    const std::chrono::seconds patience{30};
    try {
        (void)client::receive(
            {.host = camera.host,
             .limits = {.persistentWait = patience,
                        .legacyWait = patience,
                        .wholeFrame = patience}},
            VORNPreviewProfile::wall, false, never,
            [&](const PreviewFrame &frame) { frames.push_back(frame.image.size()); });
        check(false, "a stream ends with an error");
    } catch (const VORNPreviewError &error) {
        check(error.kind() == expected.end, "a stream ends for what is wrong with it");
    }
    check(frames == expected.frames, "frames come as they were sent");
}

void checkProbe(const Camera &camera, QByteArrayView stream)
{
    std::optional<LiveCameraPacket> expected;
    if (stream.size() >= prefixBytes) {
        const auto length = qFromBigEndian<quint32>(stream.data());
        if (length <= maximumPacketBytes && length <= stream.size() - prefixBytes)
            expected = decodePacket(std::as_bytes(std::span(stream.sliced(prefixBytes, length))));
    }
    const auto begin = MonotonicClock::now();
    CameraProbe probe(camera.host, nullptr);
    std::optional<LiveCameraPacket> answer;
    QEventLoop loop;
    QObject::connect(&probe, &CameraProbe::finished, &loop, [&](const auto &packet) {
        answer = packet;
        loop.quit();
    });
    loop.exec();
    const bool isLate = MonotonicClock::now() - begin >= CameraProbe::patience;
    check(answer == expected || (!answer && isLate), "an answer is what was sent");
    check((probe.reach() == Reach::answered) == answer.has_value(), "an answer counts as one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static int argumentCount = 0;
    static QCoreApplication application(argumentCount, nullptr);
    static Camera camera;
    if (size == 0)
        return 0;
    constexpr qsizetype mostPieces = 64;
    const QByteArray stream = inputBytes(data + 1, size - 1);
    const auto expected = expectedOf(stream);
    if (!expected)
        return 0;
    camera.willSend(stream, std::max<qsizetype>(1 + data[0], stream.size() / mostPieces + 1));
    checkPreview(camera, *expected);
    checkProbe(camera, stream);
    return 0;
}
