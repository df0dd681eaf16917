// SPDX-License-Identifier: Apache-2.0

#include "media/jpeg_decoder.h"

#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

namespace vorn {
namespace {

// Markers, ISO/IEC 10918-1 table B.1; each follows a byte 0xFF.
enum Marker : std::uint8_t {
    stuffedByte = 0x00,
    baselineFrame = 0xC0,
    extendedFrame = 0xC1,
    progressiveFrame = 0xC2,
    huffmanTables = 0xC4,
    firstRestart = 0xD0,
    lastRestart = 0xD7,
    startOfImage = 0xD8,
    endOfImage = 0xD9,
    startOfScan = 0xDA,
    quantizationTables = 0xDB,
    restartInterval = 0xDD,
    firstApplicationSegment = 0xE0,
    lastApplicationSegment = 0xEF,
    commentSegment = 0xFE,
    markerPrefix = 0xFF,
};

// Segments that may stand between the frame and scan headers.
bool isMiscellaneous(std::uint8_t marker)
{
    return marker == huffmanTables || marker == quantizationTables || marker == restartInterval
           || marker == commentSegment
           || (marker >= firstApplicationSegment && marker <= lastApplicationSegment);
}

class MarkerWalk {
public:
    explicit MarkerWalk(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    std::optional<JPEGHeader> read()
    {
        if (marker() != startOfImage)
            return std::nullopt;
        for (;;) {
            const auto next = marker();
            if (next == endOfImage)
                return m_header.scans > 0 ? std::optional(m_header) : std::nullopt;
            if (!next || !readSegment(*next))
                return std::nullopt;
        }
    }

private:
    // The marker at the present place; none when something else stands there.
    std::optional<std::uint8_t> marker()
    {
        if (byteAt(m_position) != markerPrefix)
            return std::nullopt;
        // Any number of fill bytes may stand before a marker.
        while (byteAt(m_position) == markerPrefix)
            ++m_position;
        const auto code = byteAt(m_position++);
        return code == stuffedByte ? std::nullopt : code;
    }

    bool readSegment(std::uint8_t marker)
    {
        const auto content = segment();
        if (!content)
            return false;
        if (marker == baselineFrame || marker == extendedFrame || marker == progressiveFrame)
            return readFrameHeader(*content);
        if (marker == startOfScan)
            return skipScan();
        if (marker == commentSegment && m_header.comment.empty())
            m_header.comment = *content;
        return isMiscellaneous(marker);
    }

    // B.1.1.4: two bytes of length, which count themselves.
    std::optional<std::span<const std::byte>> segment()
    {
        constexpr std::size_t lengthBytes = 2;
        if (m_bytes.size() - m_position < lengthBytes)
            return std::nullopt;
        const std::size_t length = qFromBigEndian<std::uint16_t>(m_bytes.data() + m_position);
        if (length < lengthBytes || length > m_bytes.size() - m_position)
            return std::nullopt;
        const auto content = m_bytes.subspan(m_position + lengthBytes, length - lengthBytes);
        m_position += length;
        return content;
    }

    // B.2.2: precision, lines, samples a line, components. One frame to a picture.
    bool readFrameHeader(std::span<const std::byte> content)
    {
        if (content.size() < 6 || m_header.width > 0)
            return false;
        const int precision = std::to_integer<int>(content[0]);
        m_header.height = qFromBigEndian<std::uint16_t>(content.data() + 1);
        m_header.width = qFromBigEndian<std::uint16_t>(content.data() + 3);
        const int components = std::to_integer<int>(content[5]);
        return precision == 8 && (components == 1 || components == 3) && m_header.width > 0
               && m_header.height > 0 && m_header.width <= JPEGHeader::maximumSide
               && m_header.height <= JPEGHeader::maximumSide
               && m_header.width * m_header.height <= JPEGHeader::maximumPixels;
    }

    // The coded data of a scan ends at a marker that is neither a stuffed byte nor a restart.
    bool skipScan()
    {
        if (m_header.width == 0 || ++m_header.scans > JPEGHeader::maximumScans)
            return false;
        const std::size_t begin = m_position;
        for (;;) {
            const void *const prefix =
                std::memchr(m_bytes.data() + m_position, markerPrefix, m_bytes.size() - m_position);
            if (!prefix)
                return false;
            m_position = std::size_t(static_cast<const std::byte *>(prefix) - m_bytes.data());
            const auto code = byteAt(m_position + 1);
            if (!code)
                return false;
            if (*code == markerPrefix)
                ++m_position;
            else if (*code == stuffedByte || (*code >= firstRestart && *code <= lastRestart))
                m_position += 2;
            else
                break;
        }
        m_header.zerosBeforeEnd = int(zerosAtEnd(m_bytes.first(m_position).subspan(begin)));
        return true;
    }

    // Of the coded data of a scan, with the fill bytes of the marker that follows.
    static std::size_t zerosAtEnd(std::span<const std::byte> data)
    {
        const auto last = [&] { return std::to_integer<std::uint8_t>(data.back()); };
        while (!data.empty() && last() == markerPrefix)
            data = data.first(data.size() - 1);
        const std::size_t size = data.size();
        while (!data.empty() && last() == stuffedByte)
            data = data.first(data.size() - 1);
        const std::size_t zeros = size - data.size();
        const bool isFirstStuffed = zeros > 0 && !data.empty() && last() == markerPrefix;
        return zeros - (isFirstStuffed ? 1 : 0);
    }

    std::optional<std::uint8_t> byteAt(std::size_t position) const
    {
        return position < m_bytes.size()
                   ? std::optional(std::to_integer<std::uint8_t>(m_bytes[position]))
                   : std::nullopt;
    }

    std::span<const std::byte> m_bytes;
    std::size_t m_position = 0;
    JPEGHeader m_header;
};

/// The picture's size or a half, a quarter or an eighth, for which libjpeg has less to transform:
/// the smallest that is as wide as what is shown.
QSize sizeToDraw(QSize picture, int shownWidth)
{
    QSize drawn = picture;
    for (const int part : {2, 4, 8}) {
        const QSize smaller((picture.width() + part - 1) / part,
                            (picture.height() + part - 1) / part);
        if (smaller.width() < shownWidth || shownWidth <= 0)
            break;
        drawn = smaller;
    }
    return drawn;
}

} // namespace

std::optional<JPEGHeader> readJPEGHeader(std::span<const std::byte> jpeg)
{
    return MarkerWalk(jpeg).read();
}

std::optional<JPEGPicture> JPEGDecoder::decode(std::span<const std::byte> jpeg, int shownWidth)
{
    const auto header = readJPEGHeader(jpeg);
    if (!header)
        return std::nullopt;
    const QSize size(header->width, header->height);
    QImage &image = freeImage(sizeToDraw(size, shownWidth));
    // Half a picture is no picture, and the time that a decoder spends on data that is not there is
    // what a hostile sender is after.
    if (image.isNull() || !m_library.decode(jpeg, *header, image))
        return std::nullopt;
    return JPEGPicture{image, size,
                       QByteArray(reinterpret_cast<const char *>(header->comment.data()),
                                  qsizetype(header->comment.size()))};
}

QImage &JPEGDecoder::freeImage(QSize size)
{
    std::erase_if(m_images, [size](const QImage &image) { return image.size() != size; });
    const auto free =
        std::ranges::find_if(m_images, [](const QImage &image) { return image.isDetached(); });
    if (free == m_images.end())
        return m_images.emplace_back(size, QImage::Format_RGB32);
    // Whoever dropped the image last, on whichever thread, has finished with its pixels.
    std::atomic_thread_fence(std::memory_order_acquire);
    return *free;
}

} // namespace vorn
