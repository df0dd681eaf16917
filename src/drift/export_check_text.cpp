// SPDX-License-Identifier: Apache-2.0

#include "drift/export_check_text.h"

#include "base/display_text.h"
#include "media/editor_notes.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Digits after the point; a rounded zero has no sign.
QString number(double value, int digits)
{
    const QString text = QString::number(value, 'f', digits);
    return text.toDouble() == 0 ? QString::number(0.0, 'f', digits) : text;
}

/// "1.533 s (46 frames)".
QString timeText(double seconds, std::optional<double> fps)
{
    QString text = number(seconds, 3) + u" s"_s;
    if (!fps)
        return text;
    const QString frames = number(std::round(seconds * *fps), 0);
    return text + (frames == u"1" ? u" (1 frame)"_s : u" (%1 frames)"_s.arg(frames));
}

QString lineText(const DriftCorrection &line, bool isAligned)
{
    if (!isAligned)
        return u"A line through its anchors would have an offset of %1 s and a drift of %2 ppm."_s
            .arg(number(line.offsetSeconds, 3), number(line.driftPPM, 1));
    return line.retime
               ? u"Offset %1 s, drift %2 ppm: retimed."_s.arg(number(line.offsetSeconds, 3),
                                                              number(line.driftPPM, 1))
               : u"Offset %1 s: not retimed, the drift is within what the anchors can tell."_s.arg(
                     number(line.offsetSeconds, 3));
}

QString anchorsText(const ClipCheck &clip, const DriftCorrection &line)
{
    QString text = u"%1 anchors lie within %2 ms of a line, of %3 ms allowed."_s.arg(
        QString::number(clip.anchors.size()), number(line.maxResidualMs, 2),
        number(DriftEngine::maximumResidualMs, 0));
    if (clip.isAligned)
        text += u" Uncertainty at the ends: %1 ms."_s.arg(number(line.endpointUncertaintyMs, 1));
    return text;
}

QStringList placeTexts(const ClipPlace &place, std::optional<double> fps)
{
    return {u"Begins at %1 of the timeline, lasts %2."_s.arg(timeText(place.start, fps),
                                                             timeText(place.duration, fps)),
            u"Cut away: %1 at the head, %2 at the tail."_s.arg(timeText(place.headCut, fps),
                                                               timeText(place.tailCut, fps))};
}

QString counted(std::size_t count, const QString &one, const QString &many)
{
    return count == 1 ? one : many.arg(count);
}

} // namespace

QString summaryOf(const ExportCheck &check)
{
    const auto doubted = std::ranges::count_if(check.clips, [](const ClipCheck &clip) {
        return clip.sound && clip.sound->verdict == TimingWitness::Verdict::doubts;
    });
    const QString doubts = doubted == 0
                               ? QString()
                               : counted(std::size_t(doubted),
                                         u" By ear, one recording does not lie where it should."_s,
                                         u" By ear, %1 recordings do not lie where they should."_s);
    if (check.findings.empty())
        return u"Nothing stands in the way of an export."_s + doubts;
    return counted(check.findings.size(), u"One thing stands in the way of an export."_s,
                   u"%1 things stand in the way of an export."_s)
           + doubts;
}

QStringList findingsOf(const ExportCheck &check, std::optional<std::size_t> clip)
{
    QStringList sentences;
    for (const ExportFinding &finding : check.findings)
        if (finding.clip == clip)
            sentences += displayText(finding.sentence, longestMessage);
    return sentences;
}

QStringList figuresOf(const ClipCheck &clip, std::optional<double> fps)
{
    QStringList sentences;
    if (clip.isReference)
        sentences += u"The reference: the others are laid beside it."_s;
    if (clip.place)
        sentences += placeTexts(*clip.place, fps);
    if (clip.line && !clip.isReference) {
        sentences += lineText(*clip.line, clip.isAligned);
        sentences += anchorsText(clip, *clip.line);
    }
    if (clip.media) {
        sentences += u"Picture: %1."_s.arg(pictureText(*clip.media));
        sentences += u"Sound: %1."_s.arg(soundText(*clip.media));
    }
    return sentences;
}

QString pictureInWords(const ClipCheck &clip)
{
    QStringList sentences;
    if (!clip.anchors.empty()) {
        const auto [earliest, latest] = std::ranges::minmax(clip.anchors, {}, &TimingPoint::ms);
        sentences += u"%1 anchors from %2 s to %3 s, between %4 ms and %5 ms from the line."_s.arg(
            QString::number(clip.anchors.size()), number(clip.anchors.front().referenceSeconds, 1),
            number(clip.anchors.back().referenceSeconds, 1), number(earliest.ms, 2),
            number(latest.ms, 2));
    }
    if (clip.sound && !clip.sound->points.empty())
        sentences += counted(clip.sound->points.size(), u"One place was heard."_s,
                             u"%1 places were heard."_s);
    return sentences.join(u' ');
}

QString exportCheckReport(const ExportCheck &check, const QString &headline)
{
    QStringList lines{headline, summaryOf(check)};
    const auto add = [&lines](const QString &mark, const QStringList &sentences) {
        for (const QString &sentence : sentences)
            lines += mark + sentence;
    };
    add(u"!!  "_s, findingsOf(check, {}));
    for (std::size_t index = 0; index < check.clips.size(); ++index) {
        const ClipCheck &clip = check.clips[index];
        lines += QString();
        lines += displayText(clip.cameraId);
        add(u"!!  "_s, findingsOf(check, index));
        add(u"    "_s, figuresOf(clip, check.fps));
        if (clip.sound)
            lines += u"    "_s + clip.sound->sentence;
        if (clip.media)
            add(u"note "_s, editorNotes(*clip.media));
    }
    return lines.join(u'\n') + u'\n';
}

} // namespace vorn
