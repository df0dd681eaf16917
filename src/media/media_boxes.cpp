// SPDX-License-Identifier: Apache-2.0

#include "media/media_boxes.h"

#include "media/media_error.h"

#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Two hours in fragments of one second, with sound, are 80,000 boxes; a finished recording has 60.
constexpr std::uint32_t maximumBoxes = 100'000;

// Eight million sample durations that all differ: 38 hours at 60 frames a second. Stops a sparse
// file whose tables are real in size and empty in content.
constexpr std::uint64_t maximumBytesRead = std::uint64_t{64} * 1024 * 1024;

constexpr std::uint64_t headerBytes = 8;
constexpr std::uint64_t largeHeaderBytes = 16;

} // namespace

std::optional<MovieBox> BoxReader::boxAt(std::uint64_t position, std::uint64_t end)
{
    // Fewer bytes than a header are padding: QuickTime ends some lists with a zero of 32 bits.
    if (position >= end || end - position < headerBytes)
        return std::nullopt;
    if (++m_boxes > maximumBoxes)
        refuse(u"it is made of too many parts."_s);
    const MovieBox header{.begin = position, .end = end};
    std::uint64_t size = u32(header, 0);
    MovieBox box{.type = u32(header, 4), .begin = position + headerBytes, .end = end};
    if (size == 0) // to the end of what holds it
        return box;
    if (size == 1) {
        size = u64(header, headerBytes);
        box.begin = position + largeHeaderBytes;
    }
    if (size < box.begin - position)
        refuseDamaged();
    constexpr std::uint64_t farthest = std::numeric_limits<std::uint64_t>::max();
    box.end = size > farthest - position ? farthest : position + size;
    return box;
}

std::optional<MovieBox> BoxReader::find(const MovieBox &parent,
                                        std::initializer_list<std::uint32_t> path)
{
    MovieBox found = parent;
    for (const std::uint32_t type : path) {
        std::uint64_t position = found.begin;
        const std::uint64_t end = found.end;
        do {
            const auto child = boxAt(position, end);
            if (!child)
                return std::nullopt;
            if (child->end > end)
                refuseDamaged();
            found = *child;
            position = child->end;
        } while (found.type != type);
    }
    return found;
}

std::uint16_t BoxReader::u16(const MovieBox &box, std::uint64_t offset)
{
    return number<std::uint16_t>(box, offset);
}

std::uint32_t BoxReader::u32(const MovieBox &box, std::uint64_t offset)
{
    return number<std::uint32_t>(box, offset);
}

std::uint64_t BoxReader::u64(const MovieBox &box, std::uint64_t offset)
{
    return number<std::uint64_t>(box, offset);
}

template <class Number> Number BoxReader::number(const MovieBox &box, std::uint64_t offset)
{
    std::array<std::byte, sizeof(Number)> bytes;
    checkTable(box, offset, 1, sizeof(Number));
    read(box.begin + offset, bytes);
    return qFromBigEndian<Number>(bytes.data());
}

void BoxReader::checkTable(const MovieBox &box, std::uint64_t offset, std::uint32_t count,
                           std::uint32_t entryBytes) const
{
    if (offset > box.size() || std::uint64_t{count} * entryBytes > box.size() - offset)
        refuseDamaged();
}

QByteArray BoxReader::bytes(const MovieBox &box, std::uint64_t offset, std::uint64_t maximumBytes)
{
    if (offset > box.size())
        refuseDamaged();
    QByteArray content(qsizetype(std::min(box.size() - offset, maximumBytes)), Qt::Uninitialized);
    read(box.begin + offset,
         std::as_writable_bytes(std::span(content.data(), std::size_t(content.size()))));
    return content;
}

void BoxReader::read(std::uint64_t offset, std::span<std::byte> into)
{
    m_bytesRead += into.size();
    if (m_bytesRead > maximumBytesRead)
        refuse(u"its headers are too long."_s);
    if (m_bytes.readAt(offset, into) != into.size())
        refuseCutOff();
}

std::uint64_t BoxReader::sum(std::uint64_t first, std::uint64_t second) const
{
    std::uint64_t result = 0;
    if (__builtin_add_overflow(first, second, &result))
        refuseDamaged();
    return result;
}

void BoxReader::refuse(const QString &reason) const
{
    throw MediaProbeError(
        u"%1 is not a movie file that VORN can read: %2"_s.arg(m_bytes.name, reason));
}

} // namespace vorn
