// SPDX-License-Identifier: Apache-2.0

#include "rig/film/timeline_reader.h"

#include "rig/base/rig_error.h"

#include <QHash>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamReader>

#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

struct TimeMapPoint {
    double timeSeconds;
    double valueSeconds;
};

QString attribute(const QXmlStreamReader &xml, const QString &name)
{
    if (!xml.attributes().hasAttribute(name))
        throw RigError(u"The timeline has a <%1> without \"%2\" in line %3."_s.arg(xml.name(), name)
                           .arg(xml.lineNumber()));
    return xml.attributes().value(name).toString();
}

// A rational time: "1001/30000s", or "0s".
double seconds(const QXmlStreamReader &xml, const QString &name)
{
    const QString text = attribute(xml, name);
    const QStringList parts = text.chopped(text.isEmpty() ? 0 : 1).split(u'/');
    bool hasNumerator = false;
    bool hasDenominator = parts.size() == 1;
    const double numerator = double(parts.at(0).toLongLong(&hasNumerator));
    const double denominator =
        parts.size() == 2 ? double(parts.at(1).toLongLong(&hasDenominator)) : 1;
    if (!text.endsWith(u's') || !hasNumerator || !hasDenominator || denominator <= 0)
        throw RigError(u"The timeline has the time \"%1\", which is none."_s.arg(text));
    return numerator / denominator;
}

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
        if (m_xml.hasError())
            throw RigError(u"The timeline is no XML: %1 (line %2)."_s.arg(m_xml.errorString())
                               .arg(m_xml.lineNumber()));
        if (!(m_timeline.framesPerSecond > 0))
            throw RigError(u"The timeline states no frame rate."_s);
        return m_timeline;
    }

private:
    void readStart()
    {
        if (m_xml.name() == u"format") {
            m_frameDurations.insert(attribute(m_xml, u"id"_s), seconds(m_xml, u"frameDuration"_s));
        } else if (m_xml.name() == u"asset") {
            const QUrl url(attribute(m_xml, u"src"_s), QUrl::StrictMode);
            if (!url.isLocalFile())
                throw RigError(u"The timeline has an asset that is no local file."_s);
            m_moviePaths.insert(attribute(m_xml, u"id"_s), url.toLocalFile());
        } else if (m_xml.name() == u"sequence") {
            m_timeline.framesPerSecond = 1 / m_frameDurations.value(attribute(m_xml, u"format"_s));
        } else if (m_xml.name() == u"asset-clip") {
            m_points.clear();
            m_timeline.clips.push_back({.cameraId = attribute(m_xml, u"name"_s),
                                        .moviePath = m_moviePaths.value(attribute(m_xml, u"ref"_s)),
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
        if (clip.moviePath.isEmpty())
            throw RigError(u"The clip %1 has no asset."_s.arg(clip.cameraId));
        clip.sourceStartSeconds = m_points[0].valueSeconds;
        clip.sourceEndSeconds = m_points[1].valueSeconds;
        if (!(clip.sourceSecondsPerSecond() > 0))
            throw RigError(u"The clip %1 does not run forwards."_s.arg(clip.cameraId));
    }

    QXmlStreamReader m_xml;
    QHash<QString, double> m_frameDurations;
    QHash<QString, QString> m_moviePaths;
    std::vector<TimeMapPoint> m_points;
    Timeline m_timeline;
};

} // namespace

Timeline readTimeline(const QByteArray &document)
{
    return TimelineReader(document).read();
}

} // namespace vorn::rig
