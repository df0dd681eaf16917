// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>

namespace vorn {

/// What the headers of a JPEG picture say before anything is decoded.
struct JPEGHeader {
    int width = 0; ///< pixels, 1 to maximumSide
    int height = 0;
    int scans = 0;                      ///< passes over the picture that its data makes
    int zerosBeforeEnd = 0;             ///< bytes between the last scan's data and the end mark
    std::span<const std::byte> comment; ///< the first comment; lies in the bytes that were read

    // A few bytes can claim a picture of gigabytes, or send the decoder over a picture thousands
    // of times. The bounds leave room for a 4K picture and for the ten scans of usual encoders.
    static constexpr int maximumSide = 8192;
    static constexpr int maximumPixels = 4096 * 4096;
    static constexpr int maximumScans = 64;
};

} // namespace vorn
