// SPDX-License-Identifier: Apache-2.0

// From anchors to a timeline: a line of the take (frame rate, seconds of the reference's media, of
// the other's), one of the other camera's name, one of its file, then an anchor to a line. It is
// refused, or the document is sound and shows of each recording what there is.

#include "check.h"
#include "drift/drift_error.h"
#include "drift/fcpxml_text.h"
#include "drift/rate_text.h"
#include "drift/timeline_document.h"

#include <QXmlStreamReader>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

Prepared recording(const QString &camera, const QString &path, double duration)
{
    Prepared made;
    made.clip.cameraId = DriftEngine::xmlText(camera);
    made.path = path;
    made.media = {.duration = duration, .width = 1920, .height = 1080, .fps = 30};
    return made;
}

std::vector<TimingAnchor> anchorsFrom(const QList<QByteArray> &lines)
{
    std::vector<TimingAnchor> anchors;
    for (const QByteArray &line : lines) {
        const auto numbers = line.split(' ');
        const auto at = [&](qsizetype index) { return numbers.value(index).toDouble(); };
        anchors.push_back({at(0), at(1), at(2), at(3)});
    }
    return anchors;
}

void checkLine(const DriftCorrection &line)
{
    check(std::isfinite(line.offsetSeconds)
              && std::abs(line.referenceSecondsPerSourceSecond - 1) <= 0.001
              && line.maxResidualMs <= DriftEngine::maximumResidualMs
              && line.endpointUncertaintyMs <= 15 && line.endpointUncertaintyMs > 0,
          "a line keeps to the gates");
}

void checkPlace(const Placement &place, double fps)
{
    check(place.start >= 0 && place.duration > 0 && std::isfinite(place.start + place.duration),
          "a clip is on the timeline");
    check(place.sourceStart >= 0 && place.sourceEnd <= place.item.media.duration
              && place.sourceStart < place.sourceEnd,
          "a clip shows what its media has");
    for (const double edge : {place.start * fps, (place.start + place.duration) * fps})
        check(std::abs(edge - std::round(edge)) <= 1e-9 * std::max(1.0, edge),
              "edges are whole frames");
}

/// A number of whole units above their number in a second, or nothing of it.
void checkTime(QStringView time)
{
    check(time.endsWith(u's'), "a time is in seconds");
    const auto parts = time.chopped(1).split(u'/');
    bool isNumber = false;
    check(parts[0].toLongLong(&isNumber) >= 0 && isNumber, "a time is not before the beginning");
    check(parts.size() == 2 && parts[1].toLongLong(&isNumber) > 0 && isNumber,
          "a time is a fraction");
}

void checkDocument(const QString &document, const std::vector<Placement> &places)
{
    QXmlStreamReader reader(document);
    std::size_t assets = 0;
    std::size_t clips = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        for (const auto *name : {"offset", "duration", "time", "frameDuration"}) {
            const auto value = attributes.value(QLatin1StringView(name));
            if (!value.isEmpty() && value != u"0s")
                checkTime(value);
        }
        if (reader.name() == u"asset") {
            check(assets < places.size(), "no asset too many");
            const Prepared &item = places[assets++].item;
            // QUrl itself decodes no noncharacters.
            const QByteArray source = attributes.value(u"src"_s).toLatin1();
            check(QByteArray::fromPercentEncoding(source) == "file://" + item.path.toUtf8(),
                  "an asset is its file");
            check(attributes.value(u"duration"_s) != u"0s", "media take time");
        }
        if (reader.name() == u"asset-clip") {
            check(clips < places.size(), "no clip too many");
            check(attributes.value(u"duration"_s) != u"0s", "a clip takes time");
            ++clips;
        }
    }
    check(!reader.hasError(), "the document is sound");
    check(assets == places.size() && clips == places.size(), "all are there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    auto lines = inputBytes(data, size).split('\n');
    constexpr qsizetype headLines = 3;
    if (lines.size() < headLines)
        return 0;
    const auto head = lines[0].split(' ');
    const QString camera = QString::fromUtf8(lines[1]);
    const QString path = u'/' + QString::fromUtf8(lines[2]).remove(QChar(u'\0'));
    lines.remove(0, headLines);
    const double referenceDuration = head.value(1).toDouble();
    const double duration = head.value(2).toDouble();
    if (!std::isfinite(referenceDuration)
        || referenceDuration <= 0) // the movie's reader sees to it
        return 0;
    try {
        const double fps = DriftEngine::fpsValue(QString::fromUtf8(head[0]));
        Prepared other = recording(camera, path, duration);
        other.correction = DriftEngine::fit(anchorsFrom(lines), duration);
        checkLine(other.correction);
        const std::vector places{
            DriftEngine::placement(
                recording(u"reference"_s, u"/reference.mov"_s, referenceDuration), fps),
            DriftEngine::placement(other, fps)};
        for (const Placement &place : places)
            checkPlace(place, fps);
        checkDocument(
            DriftEngine::timelineDocument(DriftEngine::xmlText(camera), u"take"_s, fps, places),
            places);
    } catch (const DriftExportError &) {
        return 0;
    }
    return 0;
}
