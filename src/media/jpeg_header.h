// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
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
    /// Of memory, for the picture (4 bytes a pixel) and what is kept of it until its last scan (up
    /// to 6 more). Together with the bytes that came it stays below 80 MiB: room for the largest
    /// picture of one scan, and for a 4K picture of several with the usual sampling of colour.
    static constexpr std::int64_t maximumBytes = std::int64_t{77} * 1024 * 1024;
};

} // namespace vorn
