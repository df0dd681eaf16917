// SPDX-License-Identifier: Apache-2.0

#include "director/live_edit_timeline.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {

QString text(DirectorTransition transition)
{
    switch (transition) {
    case DirectorTransition::cut:
        return u"CUT"_s;
    case DirectorTransition::fade:
        break;
    }
    return u"FADE"_s;
}

QString text(DirectorEditEventKind kind)
{
    switch (kind) {
    case DirectorEditEventKind::sessionStarted:
        return u"sessionStarted"_s;
    case DirectorEditEventKind::transition:
        return u"transition"_s;
    case DirectorEditEventKind::marker:
        break;
    }
    return u"marker"_s;
}

void LiveEditTimeline::start(WallTime at)
{
    if (isRunning())
        return;
    startedAt = at;
    DirectorEditEvent event;
    event.kind = DirectorEditEventKind::sessionStarted;
    event.label = u"Director session started"_s;
    events.push_back(std::move(event));
}

bool LiveEditTimeline::take(DirectorTransition transition, double durationSeconds, WallTime at)
{
    if (!isRunning() || !previewCameraID || programCameraID == previewCameraID)
        return false;
    std::swap(programCameraID, previewCameraID);
    DirectorEditEvent event;
    event.kind = DirectorEditEventKind::transition;
    event.elapsedSeconds = elapsedSeconds(at);
    event.fromCameraID = previewCameraID;
    event.toCameraID = programCameraID;
    event.transition = transition;
    event.durationSeconds = transition == DirectorTransition::fade
                                ? std::max(minimumFadeSeconds, durationSeconds)
                                : 0.0;
    events.push_back(std::move(event));
    return true;
}

bool LiveEditTimeline::addMarker(const QString &label, WallTime at)
{
    if (!isRunning())
        return false;
    DirectorEditEvent event;
    event.kind = DirectorEditEventKind::marker;
    event.elapsedSeconds = elapsedSeconds(at);
    event.toCameraID = programCameraID;
    event.label = label;
    events.push_back(std::move(event));
    return true;
}

double LiveEditTimeline::elapsedSeconds(WallTime at) const
{
    // Somebody may have set the clock back.
    return startedAt ? std::max(0.0, std::chrono::duration<double>(at - *startedAt).count()) : 0.0;
}

} // namespace vorn
