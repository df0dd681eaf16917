// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>

namespace vorn {

/// The bytes of a movie, wherever they lie.
struct MovieBytes {
    QString name; ///< the file's name, for the words of an error
    std::uint64_t size = 0;
    /// Fills the span with the bytes from `offset` on; gives how many there were.
    std::function<std::size_t(std::uint64_t offset, std::span<std::byte> into)> readAt;
};

/// One box of a movie (ISO/IEC 14496-12 4.2; an "atom" of QuickTime): its type and where its
/// content lies. The end is what the box claims; it may lie beyond the file.
struct MovieBox {
    std::uint32_t type = 0;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t size() const noexcept { return end - begin; }
};

/// The number that stands for a box or handler type, as in "moov"_box.
[[nodiscard]] consteval std::uint32_t operator""_box(const char *text, std::size_t length)
{
    std::uint32_t type = 0;
    for (std::size_t i = 0; i < length; ++i)
        type = type << 8 | static_cast<unsigned char>(text[i]);
    return type;
}

/// Reads boxes, their fields and their tables straight from the bytes: what it has read it does not
/// keep. Every step moves forward, and both boxes and bytes are counted, so that no file, however
/// made, holds it up. Everything throws MediaProbeError.
class BoxReader {
public:
    explicit BoxReader(const MovieBytes &bytes) : m_bytes(bytes) {}

    /// The box at `position` of a run of boxes that ends at `end`; none when no header fits there.
    [[nodiscard]] std::optional<MovieBox> boxAt(std::uint64_t position, std::uint64_t end);

    /// Calls `visit` with each child of a box; a child that reaches beyond its parent is refused.
    template <class Visit> void forEachChild(const MovieBox &parent, Visit visit)
    {
        for (std::uint64_t position = parent.begin;;) {
            const auto child = boxAt(position, parent.end);
            if (!child)
                return;
            if (child->end > parent.end)
                refuseDamaged();
            visit(*child);
            position = child->end;
        }
    }

    /// The first box at the end of a path of types that leads down from `parent`.
    [[nodiscard]] std::optional<MovieBox> find(const MovieBox &parent,
                                               std::initializer_list<std::uint32_t> path);

    /// Big-endian numbers of a box's content. What lies beyond the box is refused.
    [[nodiscard]] std::uint16_t u16(const MovieBox &box, std::uint64_t offset);
    [[nodiscard]] std::uint32_t u32(const MovieBox &box, std::uint64_t offset);
    [[nodiscard]] std::uint64_t u64(const MovieBox &box, std::uint64_t offset);

    /// The rest of a box's content from `offset` on; of a longer one the first `maximumBytes`.
    [[nodiscard]] QByteArray bytes(const MovieBox &box, std::uint64_t offset,
                                   std::uint64_t maximumBytes);

    /// Refuses a table of `count` entries from `offset` on that does not fit into its box.
    void checkTable(const MovieBox &box, std::uint64_t offset, std::uint32_t count,
                    std::uint32_t entryBytes) const;

    /// Calls `visit` with the bytes of each entry of a table. `entryBytes` is 4 to 20.
    template <class Visit>
    void forEachEntry(const MovieBox &box, std::uint64_t offset, std::uint32_t count,
                      std::uint32_t entryBytes, Visit visit)
    {
        checkTable(box, offset, count, entryBytes);
        std::array<std::byte, 4096> buffer;
        const auto perBuffer = std::uint32_t(buffer.size() / entryBytes);
        for (std::uint32_t done = 0; done < count;) {
            const std::uint32_t entries = std::min(perBuffer, count - done);
            const auto bytes = std::span(buffer).first(std::size_t{entries} * entryBytes);
            read(box.begin + offset + std::uint64_t{done} * entryBytes, bytes);
            for (std::uint32_t i = 0; i < entries; ++i)
                visit(std::span<const std::byte>(bytes).subspan(std::size_t{i} * entryBytes,
                                                                entryBytes));
            done += entries;
        }
    }

    /// `first + second`; a result beyond 64 bits is refused.
    [[nodiscard]] std::uint64_t sum(std::uint64_t first, std::uint64_t second) const;

    [[noreturn]] void refuseDamaged() const
    {
        refuse(QStringLiteral("the movie header is damaged."));
    }
    [[noreturn]] void refuseCutOff() const { refuse(QStringLiteral("the file is cut off.")); }
    /// Throws a MediaProbeError that names the file. `reason` is the end of a sentence.
    [[noreturn]] void refuse(const QString &reason) const;

private:
    void read(std::uint64_t offset, std::span<std::byte> into);
    template <class Number> Number number(const MovieBox &box, std::uint64_t offset);

    const MovieBytes &m_bytes;
    std::uint32_t m_boxes = 0;
    std::uint64_t m_bytesRead = 0;
};

} // namespace vorn
