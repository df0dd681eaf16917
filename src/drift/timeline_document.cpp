// SPDX-License-Identifier: Apache-2.0

#include "drift/timeline_document.h"

#include "drift/fcpxml_text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// The clip with this number in its lane. The retiming lies in the time map alone.
QString assetClip(const QString &number, const Placement &placement)
{
    return u"<asset-clip ref=\"asset-"_s + number + u"\" format=\"format-"_s + number
           + u"\" name=\""_s + DriftEngine::xmlEscape(placement.item.clip.cameraId)
           + u"\" lane=\""_s + number + u"\" offset=\""_s + DriftEngine::seconds(placement.start)
           + u"\" start=\"0s\" duration=\""_s + DriftEngine::seconds(placement.duration)
           + u"\" srcEnable=\"all\">"_s
           + u"<note>VORN linked A/V timing; verify head, middle and tail in Resolve.</note>"_s
           + DriftEngine::timeMap(placement) + u"</asset-clip>"_s;
}

} // namespace

QString DriftEngine::timelineDocument(const QString &projectName, const QString &takeId, double fps,
                                      const std::vector<Placement> &placements)
{
    QString clips;
    double end = 0;
    for (std::size_t index = 0; index < placements.size(); ++index) {
        const Placement &placement = placements[index];
        clips += assetClip(QString::number(index + 1), placement);
        end = std::max(end, placement.start + placement.duration);
    }
    const QString length = seconds(end);
    return fcpxmlDocument(projectName, takeId, fps, placements, length,
                          u"<gap name=\"VORN take\" offset=\"0s\" start=\"0s\" duration=\""_s
                              + length + u"\">"_s + clips + u"</gap>"_s);
}

} // namespace vorn
