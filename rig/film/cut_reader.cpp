// SPDX-License-Identifier: Apache-2.0

#include "rig/film/cut_reader.h"

#include "rig/base/rig_error.h"
#include "rig/film/fcpxml.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

// Times are ratios of whole numbers below a million; computing with them costs less than this.
constexpr double toleranceSeconds = 0.000'01;

/// What a clip has to show, in its own local time.
struct Material {
    double localStart = 0; ///< where the clip begins
    double localEnd = 0;
    double mapSeconds = 0; ///< the time map spans local 0 to this
    double sourceStart = 0;
    double sourceEnd = 0;
    double assetSeconds = 0;

    [[nodiscard]] double source(double local) const
    {
        return sourceStart + (sourceEnd - sourceStart) * local / mapSeconds;
    }
    [[nodiscard]] bool covers(double from, double to) const
    {
        return from > -toleranceSeconds && to < mapSeconds + toleranceSeconds
               && source(from) > -toleranceSeconds && source(to) < assetSeconds + toleranceSeconds;
    }
};

bool isContainer(QStringView name)
{
    return name == u"resources" || name == u"event" || name == u"project" || name == u"sequence";
}

class CutReader {
public:
    explicit CutReader(const QByteArray &document) : m_xml(document) {}

    CutTimeline read()
    {
        if (m_xml.readNextStartElement()) {
            if (m_xml.name() != u"fcpxml" || attribute(m_xml, u"version"_s) != u"1.7")
                refuse(u"is not FCPXML 1.7"_s);
            readOuter();
        }
        refuseXmlError(m_xml);
        if (m_cut.pieces.empty())
            refuse(u"has no piece"_s);
        if (m_cut.pieces.back().endFrame() != m_sequenceFrames)
            refuse(u"is not as long as its sequence"_s);
        for (std::size_t index = 0; index < m_cut.transitions.size(); ++index)
            verifyTransition(index);
        for (const TimelinePiece &piece : m_cut.pieces)
            if (piece.clip)
                verifyLane(*piece.clip);
        std::ranges::stable_sort(m_cut.markers, {}, &CutMarker::frame);
        return std::move(m_cut);
    }

private:
    /// A place in the spine on which other elements hang, by its local time.
    struct Parent {
        double offset = 0;
        double localStart = 0;

        [[nodiscard]] double timelineSeconds(double local) const
        {
            return offset + local - localStart;
        }
    };

    [[noreturn]] void refuse(const QString &what) const
    {
        throw RigError(u"The timeline %1 (line %2)."_s.arg(what).arg(m_xml.lineNumber()));
    }

    [[nodiscard]] QString optional(const QString &name) const
    {
        return m_xml.attributes().value(name).toString();
    }

    [[nodiscard]] std::int64_t frame(double timelineSeconds, const QString &what) const
    {
        const double frames = timelineSeconds * m_cut.framesPerSecond;
        if (std::abs(frames - std::round(frames)) > gridTolerance)
            refuse(u"has %1 that is not on a frame, but at %2"_s.arg(what).arg(frames));
        return std::llround(frames);
    }

    void readOuter()
    {
        while (m_xml.readNextStartElement()) {
            m_resources.read(m_xml);
            if (m_xml.name() == u"sequence") {
                if (m_cut.framesPerSecond > 0)
                    refuse(u"has a second sequence"_s);
                m_cut.framesPerSecond = m_resources.framesPerSecond(m_xml);
                m_sequenceFrames = frame(seconds(m_xml, u"duration"_s), u"an end"_s);
            }
            if (m_xml.name() == u"spine")
                readSpine();
            else if (isContainer(m_xml.name()))
                readOuter();
            else
                m_xml.skipCurrentElement();
        }
    }

    void readSpine()
    {
        if (!(m_cut.framesPerSecond > 0) || !m_cut.pieces.empty())
            refuse(u"has a spine where none must be"_s);
        while (m_xml.readNextStartElement())
            if (m_xml.name() == u"gap" || m_xml.name() == u"asset-clip")
                readPiece();
            else if (m_xml.name() == u"transition")
                readTransition();
            else
                refuse(u"has a <%1> in its spine"_s.arg(m_xml.name()));
    }

    void readPiece()
    {
        const bool isClip = m_xml.name() == u"asset-clip";
        const Parent parent{seconds(m_xml, u"offset"_s), seconds(m_xml, u"start"_s)};
        TimelinePiece piece;
        piece.startFrame = frame(parent.offset, u"a piece"_s);
        piece.frames = frame(seconds(m_xml, u"duration"_s), u"the length of a piece"_s);
        const std::int64_t end = m_cut.pieces.empty() ? 0 : m_cut.pieces.back().endFrame();
        if (piece.startFrame != end || piece.frames < 1)
            refuse(u"has a piece at frame %1 where one must begin at %2"_s.arg(piece.startFrame)
                       .arg(end));
        if (isClip
            && (optional(u"srcEnable"_s) != u"video" || optional(u"enabled"_s) == u"0"
                || m_xml.attributes().hasAttribute(u"lane"_s)))
            refuse(u"has a piece that is not picture only"_s);
        Material material;
        if (isClip)
            material = beginClip(piece.clip.emplace());
        forEachChild([&](const QString &name) {
            if (name == u"note")
                piece.note = m_xml.readElementText();
            else if (name == u"timeMap" && isClip)
                readTimeMap(material);
            else if (name == u"asset-clip" && m_cut.pieces.empty())
                readAnchored(parent);
            else if (name == u"marker")
                readMarker(parent, piece);
            else
                refuse(u"has a <%1> in a piece"_s.arg(name));
        });
        if (isClip)
            finishClip(*piece.clip, material, parent.offset);
        m_cut.pieces.push_back(piece);
        m_materials.push_back(material);
    }

    // Goes through the children, which must come in the order of the document type.
    template <class Handle> void forEachChild(const Handle &handle)
    {
        constexpr std::array order{"note", "timeMap", "asset-clip", "marker"};
        std::ptrdiff_t reached = 0;
        while (m_xml.readNextStartElement()) {
            const QString name = m_xml.name().toString();
            const auto place =
                std::ranges::find_if(
                    order, [&](const char *known) { return name == QLatin1StringView(known); })
                - order.begin();
            if (place < reached)
                refuse(u"has a <%1> too late"_s.arg(name));
            const bool isSingle = name == u"note" || name == u"timeMap";
            reached = isSingle ? place + 1 : place;
            handle(name);
        }
    }

    // The reader stands at an asset-clip, and reads its attributes.
    Material beginClip(TimelineClip &clip)
    {
        const FcpxmlAsset asset = m_resources.asset(m_xml);
        clip.cameraId = attribute(m_xml, u"name"_s);
        clip.moviePath = asset.moviePath;
        clip.durationSeconds = seconds(m_xml, u"duration"_s);
        const double start = seconds(m_xml, u"start"_s);
        return {.localStart = start,
                .localEnd = start + clip.durationSeconds,
                .assetSeconds = asset.durationSeconds};
    }

    void readTimeMap(Material &material)
    {
        int points = 0;
        for (; m_xml.readNextStartElement(); ++points) {
            const double time = seconds(m_xml, u"time"_s);
            const double value = seconds(m_xml, u"value"_s);
            if (m_xml.name() != u"timept" || attribute(m_xml, u"interp"_s) != u"linear"
                || points == 2 || (points == 0 && time != 0))
                refuse(u"has a time map that is no line from 0"_s);
            material.mapSeconds = time;
            (points == 0 ? material.sourceStart : material.sourceEnd) = value;
            m_xml.skipCurrentElement();
        }
        if (points != 2 || !(material.mapSeconds > 0)
            || !(material.sourceStart < material.sourceEnd))
            refuse(u"has a time map that does not run forwards"_s);
    }

    void finishClip(TimelineClip &clip, const Material &material, double timelineSeconds) const
    {
        if (!material.covers(material.localStart, material.localEnd))
            refuse(u"has a clip of %1 beyond its time map or its asset"_s.arg(clip.cameraId));
        clip.startSeconds = timelineSeconds;
        clip.sourceStartSeconds = material.source(material.localStart);
        clip.sourceEndSeconds = material.source(material.localEnd);
    }

    // A clip that hangs on the first piece: the sound, or a camera's lane.
    void readAnchored(const Parent &parent)
    {
        TimelineClip clip;
        Material material = beginClip(clip);
        const double start = parent.timelineSeconds(seconds(m_xml, u"offset"_s));
        const bool isSound = optional(u"srcEnable"_s) == u"audio";
        const bool isEnabled = optional(u"enabled"_s) != u"0";
        const QString lane = attribute(m_xml, u"lane"_s);
        if (lane.toInt() >= 0 || m_lanes.contains(lane))
            refuse(u"has two clips in lane %1, or one above the cut"_s.arg(lane));
        m_lanes.append(lane);
        if (isEnabled != isSound || (isSound && m_cut.sound))
            refuse(u"has a clip of %1 that plays beside the cut"_s.arg(clip.cameraId));
        forEachChild([&](const QString &name) {
            if (name == u"timeMap")
                readTimeMap(material);
            else if (name == u"note")
                m_xml.skipCurrentElement();
            else
                refuse(u"has a <%1> in a lane"_s.arg(name));
        });
        finishClip(clip, material, start);
        if (isSound)
            m_cut.sound = clip;
        else
            m_cut.lanes.push_back(clip);
    }

    void readMarker(const Parent &parent, const TimelinePiece &piece)
    {
        const CutMarker marker{
            frame(parent.timelineSeconds(seconds(m_xml, u"start"_s)), u"a marker"_s),
            attribute(m_xml, u"value"_s)};
        if (frame(seconds(m_xml, u"duration"_s), u"the length of a marker"_s) != 1
            || marker.frame < piece.startFrame || marker.frame >= piece.endFrame())
            refuse(u"has the marker \"%1\" outside its piece"_s.arg(marker.label));
        m_cut.markers.push_back(marker);
        m_xml.skipCurrentElement();
    }

    void readTransition()
    {
        m_cut.transitions.push_back(
            {attribute(m_xml, u"name"_s), frame(seconds(m_xml, u"offset"_s), u"a dissolve"_s),
             frame(seconds(m_xml, u"duration"_s), u"the length of a dissolve"_s)});
        m_piecesBefore.push_back(m_cut.pieces.size());
        m_xml.skipCurrentElement();
    }

    void verifyTransition(std::size_t index) const
    {
        const CutTransition &transition = m_cut.transitions[index];
        const std::size_t next = m_piecesBefore[index];
        if (next == 0 || next == m_cut.pieces.size())
            refuse(u"has a dissolve at an end"_s);
        const TimelinePiece &left = m_cut.pieces[next - 1];
        const TimelinePiece &right = m_cut.pieces[next];
        if (transition.frames < 2 || transition.frames % 2 != 0
            || transition.edgeFrame() != right.startFrame)
            refuse(u"has a dissolve that is not centred on frame %1"_s.arg(right.startFrame));
        if (transition.startFrame < left.startFrame || transition.endFrame() > right.endFrame()
            || (index > 0 && transition.startFrame < m_cut.transitions[index - 1].endFrame()))
            refuse(
                u"has a dissolve at frame %1 that outlasts its neighbours"_s.arg(right.startFrame));
        const double handle = double(transition.frames) / 2 / m_cut.framesPerSecond;
        const Material &before = m_materials[next - 1];
        const Material &after = m_materials[next];
        if ((left.clip && !before.covers(before.localStart, before.localEnd + handle))
            || (right.clip && !after.covers(after.localStart - handle, after.localEnd)))
            refuse(u"has a dissolve at frame %1 without material"_s.arg(right.startFrame));
    }

    void verifyLane(const TimelineClip &piece) const
    {
        const auto lane = std::ranges::find(m_cut.lanes, piece.cameraId, &TimelineClip::cameraId);
        if (lane == m_cut.lanes.end())
            refuse(u"has no lane of %1"_s.arg(piece.cameraId));
        for (const double moment : {piece.startSeconds, piece.endSeconds()})
            if (lane->moviePath != piece.moviePath
                || std::abs(lane->sourceSeconds(moment) - piece.sourceSeconds(moment))
                       > toleranceSeconds)
                refuse(u"has a piece of %1 that shows something else than its lane"_s.arg(
                    piece.cameraId));
    }

    QXmlStreamReader m_xml;
    FcpxmlResources m_resources;
    std::int64_t m_sequenceFrames = 0;
    CutTimeline m_cut;
    std::vector<Material> m_materials;       ///< of the pieces; a gap has none
    std::vector<std::size_t> m_piecesBefore; ///< each transition
    QStringList m_lanes;
};

} // namespace

CutTimeline readCutTimeline(const QByteArray &document)
{
    return CutReader(document).read();
}

} // namespace vorn::rig
