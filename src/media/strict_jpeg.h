// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

#include <cstddef>
#include <memory>
#include <span>

namespace vorn {

struct JPEGHeader;

/// The JPEG library, made to stop where a picture is not what it should be. One object serves one
/// thread and reuses what pictures have in common.
class StrictJPEG {
public:
    /// Throws std::bad_alloc.
    StrictJPEG();
    ~StrictJPEG();
    StrictJPEG(const StrictJPEG &) = delete;
    StrictJPEG &operator=(const StrictJPEG &) = delete;

    /// Decodes into `image`, which is of Format_RGB32 and the header's size, or a half, a quarter
    /// or an eighth of it, rounded up; false when the picture is damaged or takes more than
    /// JPEGHeader::maximumBytes at its own size, and then half of it may be drawn.
    /// `header` is what the walk over `jpeg` found.
    [[nodiscard]] bool decode(std::span<const std::byte> jpeg, const JPEGHeader &header,
                              QImage &image);

private:
    struct Library;
    std::unique_ptr<Library> m_library;
};

} // namespace vorn
