// SPDX-License-Identifier: Apache-2.0

#include "base/text_form.h"
#include "media/media_boxes.h"
#include "media/media_probe.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// More is no name.
constexpr std::uint64_t maximumNameBytes = 256;
constexpr std::uint32_t maximumKeys = 256;

/// A text of QuickTime's user data: its length, its language, itself.
QString userDataText(BoxReader &boxes, const MovieBox &box)
{
    const std::uint64_t bytes = std::min<std::uint64_t>(boxes.u16(box, 0), maximumNameBytes);
    return utf8Text(boxes.bytes(box, 4, bytes)).value_or(QString());
}

/// Where the boxes of a "meta" begin: in ISO files it has a version before them.
MovieBox contentOfMeta(BoxReader &boxes, MovieBox meta)
{
    if (boxes.u32(meta, 4) != "hdlr"_box)
        meta.begin += 4;
    return meta;
}

/// The number of the first key whose last word is "model", from 1; 0 where there is none.
std::uint32_t modelKey(BoxReader &boxes, MovieBox keys)
{
    if (boxes.u32(keys, 4) > maximumKeys)
        return 0;
    // Each stands in the form of a box, its name space in place of the type.
    keys.begin += 8;
    std::uint32_t number = 0, found = 0;
    boxes.forEachChild(keys, [&](const MovieBox &key) {
        ++number;
        const QByteArray name = '.' + boxes.bytes(key, 0, maximumNameBytes);
        if (found == 0 && name.endsWith(".model"))
            found = number;
    });
    return found;
}

/// A value of the metadata: its type, its language, itself. Other types than texts are no names.
QString valueText(BoxReader &boxes, const MovieBox &item)
{
    constexpr std::uint32_t utf8 = 1;
    const auto data = boxes.find(item, {"data"_box});
    if (!data || boxes.u32(*data, 0) != utf8)
        return {};
    return utf8Text(boxes.bytes(*data, 8, maximumNameBytes)).value_or(QString());
}

/// What the keys of a "meta" say; empty where there is none.
QString keyedText(BoxReader &boxes, const std::optional<MovieBox> &found)
{
    if (!found)
        return {};
    const MovieBox meta = contentOfMeta(boxes, *found);
    const auto keys = boxes.find(meta, {"keys"_box});
    const auto list = boxes.find(meta, {"ilst"_box});
    const std::uint32_t key = keys && list ? modelKey(boxes, *keys) : 0;
    const auto item = key > 0 ? boxes.find(*list, {key}) : std::nullopt;
    return item ? valueText(boxes, *item) : QString();
}

QString deviceIn(BoxReader &boxes, const MovieBox &moov)
{
    QString name = keyedText(boxes, boxes.find(moov, {"meta"_box}));
    if (name.isEmpty())
        name = keyedText(boxes, boxes.find(moov, {"udta"_box, "meta"_box}));
    const auto model = boxes.find(moov, {"udta"_box, "\xA9mod"_box});
    return name.isEmpty() && model ? userDataText(boxes, *model) : name;
}

} // namespace

QString filmingDevice(const MovieBytes &bytes)
{
    BoxReader boxes(bytes);
    try {
        const auto moov = boxes.find({.type = 0, .begin = 0, .end = bytes.size}, {"moov"_box});
        return moov ? deviceIn(boxes, *moov).trimmed() : QString();
    } catch (const MediaProbeError &) {
        return {}; // a name is no reason to refuse a movie
    }
}

} // namespace vorn
