// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/jpeg_header.h"
#include "media/strict_jpeg.h"

#include <QByteArray>
#include <QImage>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace vorn {

/// Walks the markers of a JPEG picture (ISO/IEC 10918-1 Annex B) up to its end; none when they are
/// damaged, ask for more than the bounds of JPEGHeader, or describe what the decoder cannot read:
/// it reads grey and three-component pictures of 8 bits with Huffman coding.
[[nodiscard]] std::optional<JPEGHeader> readJPEGHeader(std::span<const std::byte> jpeg);

/// A picture with the comment that lay beside it.
struct JPEGPicture {
    QImage image; ///< Format_RGB32, which is drawn without a conversion
    QSize size;   ///< of the picture; the image may be a smaller one of it
    QByteArray comment;
};

/// Decodes JPEG pictures into images that are drawn as they are. One object serves one thread and
/// reuses what pictures of one size have in common, their memory included: an image that nobody
/// else holds any more takes the next picture.
class JPEGDecoder {
public:
    /// The picture; none when readJPEGHeader gives none, decoding takes more memory than JPEGHeader
    /// allows, or the data is damaged. Encoders of phones
    /// are granted two slips, by which at most a corner is guessed:
    /// - zero bytes, and no others, between the data and the end mark;
    /// - in a picture of one scan, data that ends early by a byte, or by whatever its last two
    ///   units of blocks (16 by 16 pixels at most, each) want; those are drawn as far as they go.
    /// What else a decoder could mend is refused: data that ends earlier, zeros in the place of
    /// data, other bytes before a marker, a marker that is missing.
    /// The image is drawn at a half, a quarter or an eighth of the picture's size, the smallest
    /// that is at least `shownWidth` pixels wide, which takes less time; at its size for 0. What is
    /// refused is the same at any.
    [[nodiscard]] std::optional<JPEGPicture> decode(std::span<const std::byte> jpeg,
                                                    int shownWidth = 0);

private:
    [[nodiscard]] QImage &freeImage(QSize size);

    StrictJPEG m_library;
    std::vector<QImage> m_images;
};

} // namespace vorn
