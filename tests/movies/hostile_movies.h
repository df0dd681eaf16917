// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/movie_files.h"

#include <QByteArrayList>
#include <QRandomGenerator>

/// Movies that were made to harm whoever listens.
namespace vorn {

/// A movie in which the content of one box has other bytes from `offset` on.
inline QByteArray withBytes(const QByteArray &movie, const QByteArray &path, qsizetype offset,
                            const QByteArray &bytes)
{
    return changed(movie, path, [&](const QByteArray &content) {
        return box(path.mid(path.lastIndexOf('/') + 1),
                   QByteArray(content).replace(offset, bytes.size(), bytes));
    });
}

inline QByteArray inStbl(const char *type)
{
    return QByteArray("moov/trak/mdia/minf/stbl/") + type;
}

/// The movie's sound is said to be in `name` beside it: an alias record, whose path has one level.
inline QByteArray ledTo(const QByteArray &name, const QByteArray &movie)
{
    const QByteArray path = '/' + name;
    QByteArray record(10, '\0');
    record += char(4) + QByteArray("disk").leftJustified(27, '\0') + QByteArray(12, '\0');
    record += char(name.size()) + name.leftJustified(63, '\0') + QByteArray(16, '\0');
    record += be32(0x0001'0001) + QByteArray(16, '\0');
    record += be32(0x0002'0000 | std::uint32_t(path.size())) + path;
    record += QByteArray(path.size() % 2, '\0') + be32(0xFFFF'0000);
    return changed(movie, "moov/trak/mdia/minf/dinf/dref", [&](const QByteArray &) {
        return box("dref", be32(0) + be32(1) + box("alis", be32(0) + record));
    });
}

inline QByteArrayList cutOff(const QByteArray &movie)
{
    QByteArrayList cut;
    for (int part = 0; part < 12; ++part)
        cut += movie.first(movie.size() * part / 12);
    return cut;
}

/// Pauses, durations and samples of many hours.
inline QByteArrayList sayingHours(const QByteArray &movie)
{
    return {withBytes(movie, inStbl("stts"), 4, be32(1) + be32(1) + be32(0x7FFF'FFFF)),
            withBytes(movie, inStbl("stts"), 12, be32(48'000 * 3600)),
            withBytes(movie, "moov/trak/mdia/mdhd", 16, be32(0xFFFF'FFFF)),
            withBytes(movie, "moov/mvhd", 16, be32(0xFFFF'FFFF))};
}

inline QByteArrayList withHugeTables(const QByteArray &movie)
{
    const QByteArray most = be32(0xFFFF'FFFF);
    QByteArrayList movies{withBytes(movie, inStbl("stsz"), 4, be32(0) + most),
                          withBytes(movie, inStbl("stsz"), 4, be32(1) + most)};
    for (const char *table : {"stts", "stsc", "stco", "stsd"})
        movies += withBytes(movie, inStbl(table), 4, most);
    return movies;
}

/// Channels, bits of a sample and rate in the description of the sound, and its clock.
inline QByteArrayList withAbsurdSound(const QByteArray &movie)
{
    QByteArrayList movies;
    for (const std::uint32_t number : {0U, 0x7FFFU, 0xFFFFU}) {
        const QByteArray twice = be32(number << 16 | number);
        movies << withBytes(movie, inStbl("stsd"), 32, twice.first(2))
               << withBytes(movie, inStbl("stsd"), 34, twice.first(2))
               << withBytes(movie, inStbl("stsd"), 40, twice)
               << withBytes(movie, "moov/trak/mdia/mdhd", 12, twice);
    }
    return movies;
}

/// One to eight bytes are others, half of the time in the headers.
inline QByteArrayList mutated(const QByteArray &movie, int count)
{
    const auto headers = movie.indexOf("moov");
    QByteArrayList movies;
    for (int seed = 1; seed <= count; ++seed) {
        QRandomGenerator random(static_cast<quint32>(seed));
        QByteArray other = movie;
        const auto from = seed % 2 == 0 ? headers : 0;
        for (int bytes = random.bounded(1, 9); bytes > 0; --bytes)
            other[from + random.bounded(int(other.size() - from))] = char(random.bounded(256));
        movies += other;
    }
    return movies;
}

} // namespace vorn
