// SPDX-License-Identifier: Apache-2.0

#include "movie_files.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

struct Place {
    qsizetype begin = 0;   ///< of the box
    qsizetype content = 0; ///< of its content
    qsizetype end = 0;
};

Place firstBox(const QByteArray &boxes, const QByteArray &type)
{
    for (Place place; place.begin < boxes.size(); place.begin = place.end) {
        const char *header = boxes.constData() + place.begin;
        const auto size = qFromBigEndian<quint32>(header);
        place.content = place.begin + (size == 1 ? 16 : 8);
        place.end = size == 0   ? boxes.size()
                    : size == 1 ? place.begin + qFromBigEndian<qint64>(header + 8)
                                : place.begin + qsizetype(size);
        if (boxes.mid(place.begin + 4, 4) == type)
            return place;
    }
    throw std::runtime_error("no box " + type.toStdString());
}

} // namespace

QByteArray exact(double number)
{
    return QByteArray::number(number, 'g', 17);
}

CountedBytes::CountedBytes(std::uint64_t size, decltype(MovieBytes::readAt) readAt)
    : bytes{.name = u"cam1.mov"_s, .size = size, .readAt = {}}
{
    bytes.readAt = [this, readAt](std::uint64_t offset, std::span<std::byte> into) {
        read += into.size();
        ++reads;
        return readAt(offset, into);
    };
}

CountedBytes::CountedBytes(const QByteArray &content)
    : CountedBytes(std::uint64_t(content.size()), [content](std::uint64_t offset,
                                                            std::span<std::byte> into) {
          const QByteArray part = content.mid(qsizetype(offset), qsizetype(into.size()));
          std::ranges::copy(std::as_bytes(std::span(part)), into.begin());
          return std::size_t(part.size());
      })
{
}

ProbedMedia probed(const QByteArray &movie)
{
    return probeMedia(CountedBytes(movie).bytes);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw std::runtime_error("cannot read " + path.toStdString());
    return file.readAll();
}

QByteArray be32(std::uint32_t number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray be64(std::uint64_t number)
{
    return be32(std::uint32_t(number >> 32)) + be32(std::uint32_t(number));
}

QByteArray box(const QByteArray &type, const QByteArray &content, BoxSize size)
{
    if (size == BoxSize::large)
        return be32(1) + type + be64(std::uint64_t(content.size() + 16)) + content;
    const qsizetype stated = size == BoxSize::toTheEnd ? 0 : content.size() + 8;
    return be32(std::uint32_t(stated)) + type + content;
}

QByteArray contentOf(const QByteArray &boxes, const QByteArray &path)
{
    QByteArray content = boxes;
    for (const QByteArray &type : path.split('/')) {
        const Place place = firstBox(content, type);
        content = content.mid(place.content, place.end - place.content);
    }
    return content;
}

QByteArray changed(const QByteArray &boxes, const QByteArray &path,
                   const std::function<QByteArray(const QByteArray &)> &change)
{
    const qsizetype slash = path.indexOf('/');
    const QByteArray type = path.left(slash < 0 ? path.size() : slash);
    const Place place = firstBox(boxes, type);
    const QByteArray content = boxes.mid(place.content, place.end - place.content);
    const QByteArray replacement =
        slash < 0 ? change(content) : box(type, changed(content, path.mid(slash + 1), change));
    return boxes.left(place.begin) + replacement + boxes.mid(place.end);
}

QByteArray widened(QByteArray content, QList<qsizetype> offsets)
{
    content[0] = 1;
    std::ranges::sort(offsets, std::greater());
    for (const qsizetype offset : offsets) {
        const bool isAllOnes = content.mid(offset, 4) == be32(~0U);
        content.insert(offset, be32(isAllOnes ? ~0U : 0));
    }
    return content;
}

} // namespace vorn
