// SPDX-License-Identifier: Apache-2.0

#include "preview/preview_client.h"

#include "media/jpeg_decoder.h"
#include "net/ipv4_socket.h"
#include "net/tcp_socket.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <exception>
#include <utility>
#include <vector>

namespace vorn {

const char *VORNPreviewError::what() const noexcept
{
    switch (m_case) {
    case Case::invalidHost:
        return "Invalid camera address";
    case Case::connectionFailed:
        return "Preview connection failed";
    case Case::transportFailed:
        return "Preview response was incomplete";
    case Case::invalidLength:
        return "Preview frame size was rejected";
    case Case::invalidJPEG:
        break;
    }
    return "Preview frame was not a valid JPEG";
}

namespace VORNPreviewClient {
namespace {

using enum VORNPreviewError::Case;

// JPEG markers, ISO/IEC 10918-1 table B.1.
constexpr std::array startOfImage{std::byte{0xFF}, std::byte{0xD8}};
constexpr std::array endOfImage{std::byte{0xFF}, std::byte{0xD9}};

/// A connection that has asked for its mode.
class Connection {
public:
    Connection(const Camera &camera, std::chrono::milliseconds wait, std::byte mode,
               const StopSignal &stop)
        : m_socket(connected(camera, wait, stop)), m_wholeFrame(camera.limits.wholeFrame)
    {
        if (!m_socket.send(mode))
            throw VORNPreviewError(transportFailed);
    }

    /// The bytes of the next frame, in `buffer`, which only ever grows and serves the next frame
    /// again. They grow with what has come, not with what was announced.
    std::span<const std::byte> readFrame(std::vector<std::byte> &buffer)
    {
        constexpr std::size_t firstPiece = 0x10000;
        const auto deadline = MonotonicClock::now() + m_wholeFrame;
        std::array<std::byte, lengthPrefixBytes> prefix;
        readExactly(prefix, deadline);
        const std::size_t length = frameLength(prefix);
        for (std::size_t filled = 0; filled < length;) {
            if (filled == buffer.size())
                buffer.resize(std::max(firstPiece, 2 * filled));
            const auto piece =
                std::span(buffer).subspan(filled, std::min(length, buffer.size()) - filled);
            readExactly(piece, deadline);
            filled += piece.size();
        }
        return std::span(buffer).first(length);
    }

private:
    static TcpSocket connected(const Camera &camera, std::chrono::milliseconds wait,
                               const StopSignal &stop)
    {
        if (!isIPv4Address(camera.host))
            throw VORNPreviewError(invalidHost);
        auto socket = TcpSocket::connect(camera.host, camera.serverPort, wait, stop);
        if (!socket)
            throw VORNPreviewError(connectionFailed);
        return *std::move(socket);
    }

    void readExactly(std::span<std::byte> into, MonotonicClock::time_point deadline)
    {
        while (!into.empty()) {
            const std::size_t count = m_socket.receive(into, deadline);
            if (count == 0)
                throw VORNPreviewError(transportFailed);
            into = into.subspan(count);
        }
    }

    TcpSocket m_socket;
    std::chrono::milliseconds m_wholeFrame;
};

JPEGPicture decoded(std::span<const std::byte> bytes, JPEGDecoder &decoder, int shownWidth = 0)
{
    auto picture = isJPEG(bytes) ? decoder.decode(bytes, shownWidth) : std::nullopt;
    if (!picture)
        throw VORNPreviewError(invalidJPEG);
    return *std::move(picture);
}

/// What the frames of one call of `receive` share.
struct FrameReader {
    std::shared_ptr<const std::atomic<int>> shownWidth;
    std::vector<std::byte> buffer = {};
    JPEGDecoder decoder = {};

    PreviewFrame next(Connection &connection, Transport transport)
    {
        const auto bytes = connection.readFrame(buffer);
        const auto receivedAt = MonotonicClock::now();
        JPEGPicture picture = decoded(bytes, decoder, shownWidth ? shownWidth->load() : 0);
        return {.image = std::move(picture.image),
                .size = picture.size,
                .transport = transport,
                .receivedAt = receivedAt,
                .comment = std::move(picture.comment)};
    }
};

} // namespace

Transport receive(const Camera &camera, VORNPreviewProfile profile, bool preferLegacy,
                  const StopSignal &stop, const std::function<void(PreviewFrame)> &onFrame)
{
    FrameReader reader{.shownWidth = camera.shownWidth};
    if (!preferLegacy) {
        if (stop.isRequested())
            return Transport::persistent;
        bool hasDelivered = false;
        try {
            Connection stream(camera, camera.limits.persistentWait, persistentMode(profile), stop);
            while (!stop.isRequested()) {
                onFrame(reader.next(stream, Transport::persistent));
                hasDelivered = true;
            }
            return Transport::persistent;
        } catch (const VORNPreviewError &) {
            // A stream that has worked ends with its error; so does one that was told to.
            if (hasDelivered || stop.isRequested())
                throw;
        }
    }
    Connection single(camera, camera.limits.legacyWait, legacyMode(profile), stop);
    onFrame(reader.next(single, Transport::legacy));
    return Transport::legacy;
}

QByteArray fetchJPEG(const QString &host, std::uint16_t serverPort, std::byte mode,
                     std::chrono::milliseconds timeout)
{
    const StopSignal neverStopped;
    Connection connection({.host = host, .serverPort = serverPort}, timeout, mode, neverStopped);
    std::vector<std::byte> buffer;
    const auto bytes = connection.readFrame(buffer);
    JPEGDecoder decoder;
    (void)decoded(bytes, decoder);
    return {reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size())};
}

std::uint32_t frameLength(std::span<const std::byte, lengthPrefixBytes> prefix)
{
    const auto length = qFromBigEndian<std::uint32_t>(prefix.data());
    if (length == 0 || length > maximumFrameBytes)
        throw VORNPreviewError(invalidLength);
    return length;
}

bool isJPEG(std::span<const std::byte> data) noexcept
{
    return data.size() >= startOfImage.size() + endOfImage.size()
           && std::ranges::equal(data.first<startOfImage.size()>(), startOfImage)
           && std::ranges::equal(data.last<endOfImage.size()>(), endOfImage);
}

} // namespace VORNPreviewClient
} // namespace vorn
