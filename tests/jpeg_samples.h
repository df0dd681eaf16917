// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageWriter>

namespace vorn {

/// A picture in which no two parts look alike; `seed` gives others.
[[nodiscard]] inline QImage samplePicture(QSize size, int seed = 0)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb((x * 2 + seed) & 255, (y * 3) & 255, (x * y / 16) & 255));
    return image;
}

enum class JPEGCoding { baseline, progressive };

/// The picture as a JPEG, grey when the picture is; `comment` stands in a segment of its own.
[[nodiscard]] inline QByteArray jpegOf(const QImage &image,
                                       JPEGCoding coding = JPEGCoding::baseline,
                                       const QByteArray &comment = {})
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    writer.setProgressiveScanWrite(coding == JPEGCoding::progressive);
    if (!writer.write(image))
        qFatal("cannot write a JPEG");
    QByteArray jpeg = buffer.data();
    if (!comment.isEmpty()) {
        const auto length = quint16(comment.size() + 2);
        const QByteArray segment =
            QByteArray("\xFF\xFE") + char(length >> 8) + char(length & 255) + comment;
        jpeg.insert(2, segment); // after the start of the image
    }
    return jpeg;
}

} // namespace vorn
