// SPDX-License-Identifier: Apache-2.0

#include "rig/film/timeline_reader.h"

#include "rig/base/rig_error.h"
#include "rig/film/fcpxml.h"

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

struct TimeMapPoint {
    double timeSeconds;
    double valueSeconds;
};

class TimelineReader {
public:
    explicit TimelineReader(const QByteArray &document) : m_xml(document) {}

    Timeline read()
    {
        while (!m_xml.atEnd())
            if (m_xml.readNext() == QXmlStreamReader::StartElement)
                readStart();
            else if (m_xml.isEndElement() && m_xml.name() == u"asset-clip")
                finishClip();
        refuseXmlError(m_xml);
        if (!(m_timeline.framesPerSecond > 0))
            throw RigError(u"The timeline states no frame rate."_s);
        return m_timeline;
    }

private:
    void readStart()
    {
        m_resources.read(m_xml);
        if (m_xml.name() == u"sequence") {
            m_timeline.framesPerSecond = m_resources.framesPerSecond(m_xml);
        } else if (m_xml.name() == u"asset-clip") {
            m_points.clear();
            m_timeline.clips.push_back({.cameraId = attribute(m_xml, u"name"_s),
                                        .moviePath = m_resources.asset(m_xml).moviePath,
                                        .startSeconds = seconds(m_xml, u"offset"_s),
                                        .durationSeconds = seconds(m_xml, u"duration"_s)});
        } else if (m_xml.name() == u"timept") {
            m_points.push_back({seconds(m_xml, u"time"_s), seconds(m_xml, u"value"_s)});
        }
    }

    void finishClip()
    {
        TimelineClip &clip = m_timeline.clips.back();
        if (m_points.size() != 2 || m_points[0].timeSeconds != 0
            || m_points[1].timeSeconds != clip.durationSeconds || !(clip.durationSeconds > 0))
            throw RigError(u"The time map of %1 does not span its clip."_s.arg(clip.cameraId));
        clip.sourceStartSeconds = m_points[0].valueSeconds;
        clip.sourceEndSeconds = m_points[1].valueSeconds;
        if (!(clip.sourceSecondsPerSecond() > 0))
            throw RigError(u"The clip %1 does not run forwards."_s.arg(clip.cameraId));
    }

    QXmlStreamReader m_xml;
    FcpxmlResources m_resources;
    std::vector<TimeMapPoint> m_points;
    Timeline m_timeline;
};

} // namespace

Timeline readTimeline(const QByteArray &document)
{
    return TimelineReader(document).read();
}

} // namespace vorn::rig
