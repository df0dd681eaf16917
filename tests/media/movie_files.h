// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/media_boxes.h"
#include "media/media_probe.h"
#include "movies.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <functional>

namespace vorn {

/// A number with all its digits: QCOMPARE takes nearly equal numbers for equal, but the last bit
/// may decide on which frame a cut falls.
[[nodiscard]] QByteArray exact(double number);

[[nodiscard]] QByteArray readAll(const QString &path);

/// Counts what is read of the bytes of a "cam1.mov".
struct CountedBytes {
    MovieBytes bytes;
    std::uint64_t read = 0;
    int reads = 0;

    CountedBytes(std::uint64_t size, decltype(MovieBytes::readAt) readAt);
    explicit CountedBytes(const QByteArray &content);
    CountedBytes(const CountedBytes &) = delete;
    CountedBytes &operator=(const CountedBytes &) = delete;
};

/// What is found in the bytes of a "cam1.mov".
[[nodiscard]] ProbedMedia probed(const QByteArray &movie);

/// Big-endian bytes of a number.
[[nodiscard]] QByteArray be32(std::uint32_t number);
[[nodiscard]] QByteArray be64(std::uint64_t number);

enum class BoxSize { plain, large, toTheEnd };

/// A box of a movie file; `size` says how its header states the size.
[[nodiscard]] QByteArray box(const QByteArray &type, const QByteArray &content,
                             BoxSize size = BoxSize::plain);

/// The content of the first box at the end of a path such as "moov/trak/mdia".
[[nodiscard]] QByteArray contentOf(const QByteArray &boxes, const QByteArray &path);

/// `boxes` with the first box at the end of the path replaced by what `change` makes of its
/// content, in boxes; the sizes above follow.
[[nodiscard]] QByteArray changed(const QByteArray &boxes, const QByteArray &path,
                                 const std::function<QByteArray(const QByteArray &)> &change);

/// The content of a version 0 box in version 1: the numbers at `offsets` get 64 bits.
[[nodiscard]] QByteArray widened(QByteArray content, QList<qsizetype> offsets);

} // namespace vorn
