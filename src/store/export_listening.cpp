// SPDX-License-Identifier: Apache-2.0

#include "store/export_listening.h"

#include "base/sentence_error.h"
#include "sound/listening.h"
#include "store/store_ended.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

bool hasSound(const ClipCheck &clip)
{
    return clip.media && !clip.media->audioTracks.empty();
}

std::optional<LaidRecording> laid(const ClipCheck &clip)
{
    if (!clip.place || !clip.line || !hasSound(clip))
        return std::nullopt;
    return LaidRecording{.path = clip.path,
                         .offsetSeconds = clip.line->offsetSeconds,
                         .timelineSecondsPerSecond = clip.line->referenceSecondsPerSourceSecond,
                         .beginSeconds = clip.place->start,
                         .endSeconds = clip.place->start + clip.place->duration};
}

TimingWitness silent(const QString &reason)
{
    return {.points = {},
            .sentence = u"By ear: cannot tell: "_s + reason,
            .verdict = TimingWitness::Verdict::cannotTell};
}

TimingWitness heard(const Listening &listening, double fps)
{
    TimingWitness witness;
    for (const LagPoint &point : listening.points)
        witness.points.push_back(
            {.referenceSeconds = point.referenceSeconds, .ms = point.lagSeconds * 1000});
    witness.sentence = listeningText(listening, fps);
    if (listening.judgement.kind == SoundJudgement::Kind::steady)
        witness.verdict = TimingWitness::Verdict::holds;
    else if (listening.judgement.kind != SoundJudgement::Kind::cannotTell)
        witness.verdict = TimingWitness::Verdict::doubts;
    return witness;
}

} // namespace

void listenToExport(ExportCheck &check, const std::stop_token &stop,
                    const OnExportProgress &onProgress)
{
    const auto reference = std::ranges::find_if(check.clips, [](const ClipCheck &clip) {
        return clip.isReference && laid(clip).has_value();
    });
    ExportProgress progress;
    progress.stage = ExportProgress::Stage::listening;
    progress.clipCount = check.clips.size();
    for (ClipCheck &clip : check.clips) {
        progress.cameraId = clip.cameraId;
        const auto other = clip.isAligned && !clip.isReference ? laid(clip) : std::nullopt;
        if (!other) {
            if (clip.isAligned && !clip.isReference && !hasSound(clip))
                clip.sound = silent(u"it has no sound."_s);
        } else if (reference == check.clips.end()) {
            clip.sound = silent(u"the reference camera has no sound."_s);
        } else {
            const auto onPlace = [&](int place, int places) {
                progress.completedBytes = place;
                progress.totalBytes = places;
                if (onProgress)
                    onProgress(progress);
            };
            try {
                clip.sound =
                    heard(listen(laid(*reference).value_or(LaidRecording()), *other, stop, onPlace),
                          check.fps.value_or(0));
            } catch (const SentenceError &error) { // its disk may have gone since
                throwIfEnded(stop);
                clip.sound = silent(QString::fromUtf8(error.what()));
            }
        }
        ++progress.clipIndex;
    }
}

} // namespace vorn
