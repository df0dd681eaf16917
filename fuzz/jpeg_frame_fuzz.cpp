// SPDX-License-Identifier: Apache-2.0

#include "check.h"
#include "media/jpeg_decoder.h"

#include <turbojpeg.h>

#include <span>

namespace {

using namespace vorn;

// What our walk takes for the size is what the decoder reads for itself.
void checkSize(std::span<const std::uint8_t> input, const JPEGHeader &header)
{
    static void *const reader = tjInitDecompress();
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colorSpace = 0;
    // A sampling that it has no name for is an error there, of which it tells after the size.
    tjDecompressHeader3(reader, input.data(), static_cast<unsigned long>(input.size()), &width,
                        &height, &subsampling, &colorSpace);
    check(width == header.width && height == header.height, "both read the same size");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::span input(data, size);
    const auto header = readJPEGHeader(std::as_bytes(input));
    if (!header)
        return 0;
    check(header->width > 0 && header->height > 0 && header->width <= JPEGHeader::maximumSide
              && header->height <= JPEGHeader::maximumSide
              && header->width * header->height <= JPEGHeader::maximumPixels,
          "sizes are bounded");
    check(header->scans > 0 && header->scans <= JPEGHeader::maximumScans, "scans are bounded");
    check(header->comment.size() <= size, "the comment lies in the input");

    // Larger pictures only take longer.
    if (header->width * header->height > 1'000'000)
        return 0;
    static JPEGDecoder decoder;
    const auto picture = decoder.decode(std::as_bytes(input));
    const auto small = decoder.decode(std::as_bytes(input), 1);
    check(picture.has_value() == small.has_value(), "what is refused is the same at any size");
    if (!picture)
        return 0;
    check(small->image.size() == QSize((header->width + 7) / 8, (header->height + 7) / 8)
              && small->size == picture->image.size(),
          "a small picture is an eighth");
    check(picture->image.size() == QSize(header->width, header->height)
              && picture->image.format() == QImage::Format_RGB32,
          "a picture is what its header says");
    check(picture->comment
              == QByteArrayView(header->comment.data(), qsizetype(header->comment.size())),
          "the comment comes along");
    checkSize(input, *header);
    return 0;
}
