// SPDX-License-Identifier: Apache-2.0

#include "drift/export_check.h"
#include "drift/export_check_text.h"
#include "drift/export_package.h"
#include "export_samples.h"
#include "support.h"

#include <QtTest>

#include <functional>
#include <random>
#include <set>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// A fault; `which` is the clip that gets it, where it is one clip's.
using Fault = std::function<void(VORNProject &, VORNTake &, qsizetype which)>;

} // namespace

class ExportCheckTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        makeMovie(m_samples.movies(), u"two sounds.mov"_s,
                  u"PICTURE:30 -f lavfi -i sine -map 0 -map 1 -map 1 -t 2 X264"_s);
        writePlain(m_samples.movie(u"text.mov"_s), "no movie at all");
        m_samples.renewParent();
    }

    void saysFirstWhatTheExportSays()
    {
        std::mt19937 random(20'240'611); // the same run each time
        const auto below = [&](std::size_t end) { return std::size_t(random() % end); };
        const std::vector<Fault> faults = allFaults();
        int refused = 0;
        std::set<QString> first;
        for (int round = 0; round < 200; ++round) {
            VORNProject project = ExportSamples::project();
            VORNTake take = m_samples.take();
            for (std::size_t count = below(5); count > 0 && !take.clips.isEmpty(); --count)
                faults[below(faults.size())](project, take,
                                             qsizetype(below(std::size_t(take.clips.size()))));
            const ExportCheck check = DriftEngine::checkExport(project, take);
            QCOMPARE(check.clips.size(), std::size_t(take.clips.size()));
            m_samples.renewParent();
            const QString refusal = thrownText(
                [&] { (void)DriftEngine::exportPackage(project, take, m_samples.parent()); });
            QCOMPARE(check.findings.empty() ? QString() : check.findings.front().sentence, refusal);
            refused += refusal.isEmpty() ? 0 : 1;
            first.insert(refusal);
        }
        // Both ways have been gone, and every fault was the first one somewhere.
        QVERIFY(refused > 100 && refused < 200);
        QVERIFY2(first.size() > 20, QByteArray::number(qsizetype(first.size())).constData());
    }

    void tellsAllAtOnce()
    {
        VORNProject project = ExportSamples::project();
        project.name = u"a\u0001"_s;
        VORNTake take = m_samples.take();
        take.clips[0].localPath.reset();
        take.clips[1].sha256 = u"00"_s;
        take.clips[1].anchors[3].referenceSeconds += 0.02; // 20 ms off the line
        take.clips[2].localPath = m_samples.movie(u"two sounds.mov"_s);
        const ExportCheck check = DriftEngine::checkExport(project, take);
        QCOMPARE(summaryOf(check), u"7 things stand in the way of an export."_s);
        QVERIFY(findingsOf(check, {}).first().startsWith(u"The project name"));
        QCOMPARE(findingsOf(check, 0), QStringList{u"Wide has not been downloaded."_s});
        QCOMPARE(findingsOf(check, 1),
                 (QStringList{u"Checksum mismatch for Later."_s,
                              u"Timing is nonlinear or drift is excessive; manual review is "
                              "required."_s}));
        QCOMPARE(findingsOf(check, 2),
                 (QStringList{u"Checksum mismatch for Earlier."_s,
                              u"Multiple audio tracks need manual mapping."_s,
                              u"An anchor is outside the accepted media range or confidence "
                              "limits."_s}));
        // What is off is seen, though no line was accepted.
        const ClipCheck &later = check.clips[1];
        QVERIFY(later.line && !later.isAligned && !later.place);
        const auto farthest = std::ranges::min_element(later.anchors, {}, &TimingPoint::ms);
        QCOMPARE(farthest - later.anchors.begin(), 3);
        QVERIFY(farthest->ms < -15 && farthest->ms > -20);
    }

    void tellsWhereEachClipWillLie()
    {
        const ExportCheck check =
            DriftEngine::checkExport(ExportSamples::project(), m_samples.take());
        const QString expected = uR"(Take
Nothing stands in the way of an export.

Wide
    The reference: the others are laid beside it.
    Begins at 0.000 s (0 frames) of the timeline, lasts 10.000 s (300 frames).
    Cut away: 0.000 s (0 frames) at the head, 0.000 s (0 frames) at the tail.
    Picture: H.264 (avc1), 160 × 90, 30 fps.
    Sound: AAC (mp4a).
note DaVinci Resolve on Linux reads no H.264 in its free edition: export with editing copies.
note DaVinci Resolve on Linux reads no AAC sound: export with editing copies.

Later
    Begins at 1.533 s (46 frames) of the timeline, lasts 7.967 s (239 frames).
    Cut away: 0.023 s (1 frame) at the head, 0.010 s (0 frames) at the tail.
    Offset 1.510 s: not retimed, the drift is within what the anchors can tell.
    9 anchors lie within 0.00 ms of a line, of 5 ms allowed. Uncertainty at the ends: 2.0 ms.
    Picture: H.264 (avc1), 160 × 90, 25 fps, turned 90° to the left.
    Sound: none.
note DaVinci Resolve on Linux reads no H.264 in its free edition: export with editing copies.
note The picture is turned: see that it stands upright in the editor.

Earlier
    Begins at 0.000 s (0 frames) of the timeline, lasts 11.000 s (330 frames).
    Cut away: 0.999 s (30 frames) at the head, 0.011 s (0 frames) at the tail.
    Offset -1.000 s, drift 900.0 ppm: retimed.
    12 anchors lie within 0.00 ms of a line, of 5 ms allowed. Uncertainty at the ends: 2.0 ms.
    Picture: H.264 (avc1), 160 × 90, 30 fps.
    Sound: AAC (mp4a).
note DaVinci Resolve on Linux reads no H.264 in its free edition: export with editing copies.
note DaVinci Resolve on Linux reads no AAC sound: export with editing copies.
)"_s;
        QCOMPARE(exportCheckReport(check, u"Take"_s).split(u'\n'), expected.split(u'\n'));
        QCOMPARE(pictureInWords(check.clips[1]),
                 u"9 anchors from 1.5 s to 9.5 s, between 0.00 ms and 0.00 ms from the line."_s);
        QCOMPARE(check.seconds(), -1 + 1.0009 * 12); // of the last anchor, behind the last frame
    }

    void endsWhenTheListenerThrows()
    {
        const auto stop = [](const ExportProgress &progress) {
            if (progress.completedBytes == progress.totalBytes)
                throw std::runtime_error("Enough.");
        };
        QCOMPARE(thrownText([&] {
                     (void)DriftEngine::checkExport(ExportSamples::project(), m_samples.take(),
                                                    stop);
                 }),
                 u"Enough."_s);
    }

private:
    [[nodiscard]] std::vector<Fault> allFaults() const
    {
        const auto ofClip = [](std::function<void(VORNClip &)> change) -> Fault {
            return [change](VORNProject &, VORNTake &take, qsizetype which) {
                change(take.clips[which]);
            };
        };
        const auto file = [&](const QString &name, bool isKnown) {
            return ofClip([path = m_samples.movie(name), isKnown](VORNClip &clip) {
                clip.localPath = path;
                if (isKnown)
                    clip.sha256 = sha256OfFile(path);
            });
        };
        const auto anchors = [&](std::function<void(std::vector<TimingAnchor> &)> change) {
            return ofClip([change](VORNClip &clip) {
                if (clip.anchors.size() > 4)
                    change(clip.anchors);
            });
        };
        std::vector<Fault> faults = anchorFaults(anchors);
        const auto rate = [](const QString &text) -> Fault {
            return [text](VORNProject &, VORNTake &take, qsizetype) { take.timelineFPS = text; };
        };
        const Fault others[]{
            [](auto &, auto &take, qsizetype) { take.clips.clear(); },
            [](auto &, auto &take, qsizetype) { take.referenceCameraId.reset(); },
            [](auto &, auto &take, qsizetype) { take.referenceCameraId = u"wide"_s; },
            [](auto &, auto &take, qsizetype which) {
                take.referenceCameraId = take.clips[which].cameraId;
            },
            [](auto &, auto &take, qsizetype which) { take.clips += take.clips[which]; },
            [](auto &project, auto &, qsizetype) { project.name = u"a\u0001"_s; },
            [](auto &, auto &take, qsizetype) { take.id = u"t\uFFFF"_s; },
            rate(u"fast"_s),
            rate(u"0/1"_s),
            rate(u"1/30"_s),
            rate(u"1/1000000000000000000"_s),
            ofClip([](VORNClip &clip) { clip.cameraId += QChar(0xD83C); }),
            ofClip([](VORNClip &clip) { clip.localPath.reset(); }),
            ofClip([](VORNClip &clip) { clip.localPath = u"/nowhere.mov"_s; }),
            ofClip([this](VORNClip &clip) { clip.localPath = m_samples.movies(); }),
            ofClip([](VORNClip &clip) { clip.sha256 = u"00"_s; }),
            file(u"earlier.mov"_s, false),
            file(u"text.mov"_s, true),
            file(u"two sounds.mov"_s, true),
            ofClip([](VORNClip &clip) { clip.anchorMeaning.reset(); }),
        };
        faults.insert(faults.end(), std::begin(others), std::end(others));
        return faults;
    }

    template <class Anchors> static std::vector<Fault> anchorFaults(const Anchors &anchors)
    {
        return {
            anchors([](auto &list) { list.resize(4); }),
            anchors([](auto &list) { list[2].confidence = 0.5; }),
            anchors([](auto &list) { list[2].referenceSeconds = std::nan(""); }),
            anchors([](auto &list) { list[2].sourceSeconds = 1e300; }),
            anchors([](auto &list) { list[1] = list[2]; }),
            anchors([](auto &list) { list.erase(list.begin() + 1, list.end() - 1); }),
            anchors([](auto &list) { list.erase(list.begin(), list.begin() + 2); }),
            anchors([](auto &list) { list[2].referenceSeconds += 0.2; }),
            anchors([](auto &list) { list[2].uncertaintyMs = 1e-200; }),
            anchors([](auto &list) {
                for (TimingAnchor &anchor : list)
                    anchor.referenceSeconds += 1e15; // beyond what the document can say
            }),
        };
    }

    ExportSamples m_samples;
};

QTEST_GUILESS_MAIN(ExportCheckTest)
#include "export_check_test.moc"
