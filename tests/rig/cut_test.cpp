// SPDX-License-Identifier: Apache-2.0

// What the rig's own reader understands of a director's cut, and what holding one against the truth
// of a real take finds.

#include "base/files.h"
#include "drift/export_package.h"
#include "library/manifest_import.h"
#include "rig/film/cut_reader.h"
#include "rig/film/cut_report.h"
#include "rig/film/take.h"
#include "support.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <functional>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

// Three seconds: a gap whose own time begins at 5 s, cam-b, a dissolve over four frames, cam-a.
constexpr auto smallCut =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<!DOCTYPE fcpxml>\n"
    "<fcpxml version='1.7'><resources><format id='f' frameDuration='1/30s'/>\n"
    "<asset id='a' src='file:///m/a%20%231.mov' start='0s' duration='10s' format='f'/>\n"
    "<asset id='b' src='file:///m/b.mov' start='0s' duration='5/2s' format='f'/></resources>\n"
    "<event><project><sequence format='f' duration='3s'><spine>\n"
    "<gap offset='0s' start='5s' duration='1s'><note>Not yet.</note>\n"
    "<asset-clip ref='a' name='cam-a' lane='-1' offset='5s' start='0s' duration='3s' "
    "srcEnable='audio'>\n"
    "<timeMap><timept time='0s' value='0s' interp='linear'/>\n"
    "<timept time='3s' value='3s' interp='linear'/></timeMap></asset-clip>\n"
    "<asset-clip ref='a' name='cam-a' lane='-2' offset='5s' start='0s' duration='3s' enabled='0'>\n"
    "<timeMap><timept time='0s' value='0s' interp='linear'/>\n"
    "<timept time='3s' value='3s' interp='linear'/></timeMap></asset-clip>\n"
    "<asset-clip ref='b' name='cam-b' lane='-3' offset='11/2s' start='0s' duration='2s' "
    "enabled='0'>\n"
    "<timeMap><timept time='0s' value='1/4s' interp='linear'/>\n"
    "<timept time='2s' value='9/4s' interp='linear'/></timeMap></asset-clip></gap>\n"
    "<asset-clip ref='b' name='cam-b' offset='1s' start='1/2s' duration='1s' srcEnable='video'>\n"
    "<note>Wide.</note><timeMap><timept time='0s' value='1/4s' interp='linear'/>\n"
    "<timept time='2s' value='9/4s' interp='linear'/></timeMap>\n"
    "<marker start='29/30s' duration='1/30s' value='Laugh'/></asset-clip>\n"
    "<transition name='Cross Dissolve' offset='58/30s' duration='4/30s'/>\n"
    "<asset-clip ref='a' name='cam-a' offset='2s' start='2s' duration='1s' srcEnable='video'>\n"
    "<timeMap><timept time='0s' value='0s' interp='linear'/>\n"
    "<timept time='3s' value='3s' interp='linear'/></timeMap></asset-clip>\n"
    "</spine></sequence></project></event></fcpxml>";

QString frameText(std::int64_t frame)
{
    return u"%1/30s"_s.arg(frame);
}

QString microText(double seconds)
{
    return u"%1/1000000s"_s.arg(std::llround(seconds * 1e6));
}

/// The frames of the timeline in which that phone's movie stands.
std::pair<std::int64_t, std::int64_t> laneOf(const PhonePlan &phone)
{
    return {std::int64_t(std::ceil(30 * std::max(phone.offsetSeconds, 0.0))),
            std::int64_t(std::floor(30 * phone.sceneSeconds(phone.durationSeconds())))};
}

/// A clip of that phone, from its own time `start`.
QString clipText(const PhonePlan &phone, const QString &attributes, std::int64_t offset,
                 std::int64_t start, std::int64_t frames)
{
    const auto [first, last] = laneOf(phone);
    const auto source = [&phone](std::int64_t frame) {
        const double scene = double(frame) / 30 - phone.offsetSeconds;
        return microText(scene / (1 + phone.driftPPM / 1e6));
    };
    return u"<asset-clip ref='%1' name='%1' %2 offset='%3' start='%4' duration='%5'><timeMap>"
           "<timept time='0s' value='%6' interp='linear'/>"
           "<timept time='%7' value='%8' interp='linear'/></timeMap></asset-clip>"_s.arg(
               phone.cameraId, attributes, frameText(offset), frameText(start), frameText(frames),
               source(first), frameText(last - first), source(last));
}

struct Shot {
    int phone = -1; ///< below 0: a gap
    std::int64_t endFrame = 0;
    std::int64_t dissolveFrames = 0; ///< at its end
};

/// A cut of these shots, with a marker in its first piece, which is a gap, at that frame.
QString cutText(const TakePlan &plan, const QString &folder, const std::vector<Shot> &shots,
                std::int64_t markerFrame)
{
    QString resources = u"<format id='f' frameDuration='1/30s'/>"_s;
    QString lanes = clipText(plan.phones[0], u"lane='-1' srcEnable='audio'"_s, 0, 0, 120);
    for (const PhonePlan &phone : plan.phones) {
        const auto [first, last] = laneOf(phone);
        resources += u"<asset id='%1' src='file://%2/%3' start='0s' duration='%4'/>"_s.arg(
            phone.cameraId, QString(folder).replace(u' ', u"%20"_s), phone.fileName,
            microText(phone.durationSeconds()));
        lanes += clipText(phone, u"lane='%1' enabled='0'"_s.arg(-2 - phone.castIndex), first, 0,
                          last - first);
    }
    lanes += u"<marker start='%1' duration='1/30s' value='Laugh'/>"_s.arg(frameText(markerFrame));
    QString spine;
    std::int64_t frame = 0;
    for (const Shot &shot : shots) {
        const std::int64_t frames = shot.endFrame - frame;
        if (shot.phone < 0) {
            spine += u"<gap offset='%1' start='0s' duration='%2'>%3</gap>"_s.arg(
                frameText(frame), frameText(frames), std::exchange(lanes, {}));
        } else {
            const PhonePlan &phone = plan.phones[std::size_t(shot.phone)];
            spine +=
                clipText(phone, u"srcEnable='video'"_s, frame, frame - laneOf(phone).first, frames);
        }
        frame = shot.endFrame;
        if (shot.dissolveFrames > 0)
            spine += u"<transition name='' offset='%1' duration='%2'/>"_s.arg(
                frameText(frame - shot.dissolveFrames / 2), frameText(shot.dissolveFrames));
    }
    return u"<fcpxml version='1.7'><resources>%1</resources><sequence format='f' duration='%2'>"
           "<spine>%3</spine></sequence></fcpxml>"_s.arg(resources, frameText(frame), spine);
}

// cam-c is on Program before it records; cam-d never does. The fourth cut leaves no edge: on its
// frame comes another.
constexpr auto decisionsText = R"([
    {"kind": "CUT", "cameraId": "cam-a", "sceneSeconds": -2},
    {"kind": "CUT", "cameraId": "cam-c", "sceneSeconds": -0.5},
    {"kind": "MARK", "sceneSeconds": 0.204},
    {"kind": "CUT", "cameraId": "cam-b", "sceneSeconds": 1.204},
    {"kind": "FADE", "cameraId": "cam-a", "sceneSeconds": 1.997},
    {"kind": "CUT", "cameraId": "cam-b", "sceneSeconds": 2.79},
    {"kind": "CUT", "cameraId": "cam-c", "sceneSeconds": 2.81},
    {"kind": "CUT", "cameraId": "cam-d", "sceneSeconds": 3.3},
    {"kind": "CUT", "cameraId": "cam-a", "sceneSeconds": 3.6667},
    {"kind": "CUT", "cameraId": "cam-b", "sceneSeconds": 30}])";

} // namespace

class CutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWhatAnEditorShows()
    {
        const CutTimeline cut = readCutTimeline(smallCut);
        QCOMPARE(cut.framesPerSecond, 30.0);
        QCOMPARE(cut.pieces.size(), std::size_t{3});
        QCOMPARE(cut.pieces[0].cameraId(), QString());
        QCOMPARE(cut.pieces[0].note, u"Not yet."_s);
        QCOMPARE(cut.pieces[1].cameraId(), u"cam-b"_s);
        QCOMPARE(cut.pieces[1].startFrame, 30);
        QCOMPARE(cut.pieces[1].clip->sourceSeconds(1.5), 1.25);
        QCOMPARE(cut.pieces[2].endFrame(), 90);
        QCOMPARE(cut.pieces[2].clip->moviePath, u"/m/a #1.mov"_s);
        QCOMPARE(cut.pieces[2].clip->sourceSeconds(2.5), 2.5);
        QCOMPARE(cut.transitions.size(), std::size_t{1});
        QCOMPARE(cut.transitions[0].edgeFrame(), 60);
        QCOMPARE(cut.markers.size(), std::size_t{1});
        QCOMPARE(cut.markers[0].frame, 44);
        QCOMPARE(cut.markers[0].label, u"Laugh"_s);
        QCOMPARE(cut.sound->endSeconds(), 3.0);
        QCOMPARE(cut.lanes.size(), std::size_t{2});
        QCOMPARE(cut.lanes[1].startSeconds, 0.5);
    }

    void refusesWhatCannotBeFollowed_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("instead");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char *name, const char *what, const char *instead,
                            const char *sentence) {
            QTest::newRow(name) << QString::fromUtf8(what) << QString::fromUtf8(instead)
                                << QString::fromUtf8(sentence);
        };
        row("no XML", "</spine>", "", "is no XML");
        row("another version", "'1.7'", "'1.10'", "is not FCPXML 1.7");
        row("longer than the spine", "duration='3s'><spine", "duration='4s'><spine",
            "is not as long as its sequence");
        row("a gap", "offset='2s' start='2s'", "offset='61/30s' start='2s'",
            "has a piece at frame 61 where one must begin at 60");
        row("an overlap", "offset='2s' start='2s'", "offset='59/30s' start='2s'",
            "has a piece at frame 59 where one must begin at 60");
        row("off the frame", "offset='2s' start='2s'", "offset='121/60s' start='2s'",
            "has a piece that is not on a frame, but at 60.5");
        row("not picture only", "start='2s' duration='1s' srcEnable='video'",
            "start='2s' duration='1s' srcEnable='all'", "has a piece that is not picture only");
        row("another element", "<transition ", "<title ", "has a <title> in its spine");
        row("a dissolve beside the edge", "offset='58/30s'", "offset='59/30s'",
            "has a dissolve that is not centred on frame 60");
        row("a dissolve of three frames", "duration='4/30s'", "duration='3/30s'",
            "has a dissolve that is not centred on frame 60");
        row("a dissolve beyond its neighbours", "offset='58/30s' duration='4/30s'",
            "offset='29/30s' duration='62/30s'",
            "has a dissolve at frame 60 that outlasts its neighbours");
        row("two dissolves at one edge", "<transition ",
            "<transition name='' offset='59/30s' duration='2/30s'/><transition ",
            "has a dissolve at frame 60 that outlasts its neighbours");
        // The map of the piece ends with it, on the same line as the lane's.
        row("a dissolve beyond the time map",
            "<timept time='2s' value='9/4s' interp='linear'/></timeMap>\n"
            "<marker",
            "<timept time='3/2s' value='7/4s' interp='linear'/></timeMap>\n"
            "<marker",
            "has a dissolve at frame 60 without material");
        row("no asset", "ref='b' name='cam-b' offset='1s'", "ref='c' name='cam-b' offset='1s'",
            "The clip cam-b has no asset");
        row("beyond the asset", "duration='5/2s'", "duration='2s'",
            "has a clip of cam-b beyond its time map or its asset");
        row("another local time", "start='1/2s' duration='1s'", "start='8/15s' duration='1s'",
            "has a piece of cam-b that shows something else than its lane");
        row("a lane elsewhere", "offset='11/2s'", "offset='1/2s'",
            "has a piece of cam-b that shows something else than its lane");
        row("no lane", "name='cam-b' lane", "name='cam-d' lane", "has no lane of cam-b");
        row("a lane that plays", "duration='2s' enabled='0'", "duration='2s'",
            "has a clip of cam-b that plays beside the cut");
        row("a lane twice", "lane='-3'", "lane='-2'", "has two clips in lane -2");
        row("a curve",
            "<timept time='3s' value='3s' interp='linear'/></timeMap></asset-clip>\n"
            "</spine>",
            "<timept time='3s' value='3s' interp='smooth2'/></timeMap></asset-clip>\n"
            "</spine>",
            "has a time map that is no line from 0");
        row("a marker outside", "start='29/30s'", "start='1/3s'",
            "has the marker \"Laugh\" outside its piece");
        row("a note too late", "<marker ", "<note/><marker ", "has a <note> too late");
    }

    void refusesWhatCannotBeFollowed()
    {
        QFETCH(const QString, what);
        QFETCH(const QString, instead);
        QFETCH(const QString, sentence);
        QString broken = QString::fromUtf8(smallCut);
        QCOMPARE(broken.count(what), 1);
        broken.replace(what, instead);
        const QString text = thrownText([&] { (void)readCutTimeline(broken.toUtf8()); });
        QVERIFY2(text.contains(sentence) && !text.isEmpty(), qPrintable(text));
    }

    void holdsACutAgainstTheTruth_data()
    {
        QTest::addColumn<std::function<void(std::vector<Shot> &)>>("spoil");
        QTest::addColumn<int>("markerFrame");
        QTest::addColumn<int>("missing");
        QTest::addColumn<int>("extra");
        QTest::addColumn<int>("wrong");
        QTest::addColumn<int>("worstFrames");
        using Shots = std::vector<Shot>;
        using Spoil = std::function<void(Shots &)>;
        const auto row = [](const char *name, const Spoil &spoil, int marker, int missing,
                            int extra, int wrong, int worst) {
            QTest::newRow(name) << spoil << marker << missing << extra << wrong << worst;
        };
        row("right", [](Shots &) {}, 6, 0, 0, 0, 0);
        row("two frames late", [](Shots &shots) { shots[1].endFrame += 2; }, 6, 0, 0, 0, 2);
        row("three frames late", [](Shots &shots) { shots[1].endFrame += 3; }, 6, 0, 0, 0, 3);
        row("a marker 4 frames early", [](Shots &) {}, 2, 0, 0, 0, 4);
        row("no cut", [](Shots &shots) { shots.erase(shots.begin() + 1); }, 6, 1, 1, 1, 0);
        row(
            "two cuts too many",
            [](Shots &shots) { shots.insert(shots.begin() + 3, {{0, 76}, {1, 80}}); }, 6, 0, 2, 0,
            0);
        row("no dissolve", [](Shots &shots) { shots[2].dissolveFrames = 0; }, 6, 0, 0, 0, 0);
        row(
            "a dissolve too many", [](Shots &shots) { shots[1].dissolveFrames = 4; }, 6, 0, 1, 0,
            0);
        row(
            "cameras swapped", [](Shots &shots) { std::swap(shots[1].phone, shots[2].phone); }, 6,
            1, 2, 2, 0);
    }

    void holdsACutAgainstTheTruth()
    {
        QFETCH(const std::function<void(std::vector<Shot> &)>, spoil);
        QFETCH(const int, markerFrame);
        QFETCH(const int, worstFrames);
        const QByteArray row = QTest::currentDataTag();
        const std::int64_t beginOfC = laneOf(m_plan.phones[2]).first;
        std::vector<Shot> shots{{-1, beginOfC}, {2, 36},   {1, 60, 12}, {0, 84},
                                {2, 99},        {-1, 110}, {0, 120}};
        spoil(shots);
        const CutCheck check = checked(::cutText(m_plan, m_take, shots, markerFrame),
                                       row == "right" ? m_root.filePath(u"pictures"_s) : QString());
        const QString text = rig::cutText(check);
        QCOMPARE(check.decisions.size(), std::size_t{7});
        QTEST(check.missing(), "missing");
        QTEST(check.extra, "extra");
        QTEST(check.wrongCameras, "wrong");
        QVERIFY2(std::lround(check.worstSeconds() * 30) == worstFrames, qPrintable(text));
        QVERIFY2(check.isRight() == (row == "right" || row == "two frames late"), qPrintable(text));
        QVERIFY2(check.faults.isEmpty() == (check.isRight() || worstFrames > 2), qPrintable(text));
        if (row != "right")
            return;
        const auto &left = check.decisions[1].sides->left;
        QCOMPARE(left.text(), u"cam-c 1.1424 #22"_s);
        QVERIFY(std::abs(left.shown->sceneSeconds - 35.0 / 30) < 0.001);
        QCOMPARE(QDir(m_root.filePath(u"pictures"_s)).entryList(QDir::Files).size(), 6);
        QVERIFY(!check.decisions[3].documentSeconds);
    }

    void findsTheProgramsOwnCutRight()
    {
        writePlain(m_root.filePath(u"decisions.json"_s), decisionsText);
        std::vector<vorn::CutDecision> decisions;
        for (const auto &made : readDecisions(m_root.filePath(u"decisions.json"_s))) {
            vorn::CutDecision decision{.kind = vorn::CutDecision::Kind(int(made.kind)),
                                       .sessionSeconds = 100 + made.sceneSeconds,
                                       .cameraId = made.cameraId,
                                       .fadeSeconds = 0.5,
                                       .label = u"Laugh"_s,
                                       .then = {}};
            for (const PhonePlan &phone : m_plan.phones) {
                const double media =
                    (made.sceneSeconds - phone.offsetSeconds) / (1 + phone.driftPPM / 1e6);
                if (media >= 0 && media < phone.durationSeconds())
                    decision.then.push_back({phone.cameraId, media, 0.001});
            }
            decisions.push_back(decision);
        }
        const QString manifest = m_take + u"/manifest.json"_s;
        const VORNProject project =
            importedTake(readSourceManifest(manifest), manifest, {}).project;
        const QString package = DriftEngine::exportPackage(project, project.takes.front(),
                                                           m_root.path(), {}, decisions);
        const CutCheck check =
            checked(QString::fromUtf8(readFile(package + u"/director-cut.fcpxml"_s, 1 << 20)));
        QVERIFY2(check.isRight(), qPrintable(rig::cutText(check)));
    }

    void findsPicturesOfAnotherCamera()
    {
        const std::int64_t beginOfC = laneOf(m_plan.phones[2]).first;
        QString document = ::cutText(m_plan, m_take, {{-1, beginOfC}, {2, 36}, {1, 99}}, 6);
        document.replace(u"-cam-b.mov"_s, u"-cam-a.mov"_s);
        const CutCheck check = checked(document);
        QVERIFY2(
            check.faults.first().endsWith(u"shows cam-a, but by the timeline it shows cam-b."_s),
            qPrintable(rig::cutText(check)));
    }

private:
    [[nodiscard]] CutCheck checked(const QString &timeline, const QString &pictures = {}) const
    {
        writePlain(m_root.filePath(u"director-cut.fcpxml"_s), timeline.toUtf8());
        writePlain(m_root.filePath(u"decisions.json"_s), decisionsText);
        return checkCut({m_root.path(), m_take + u"/truth.json"_s,
                         m_root.filePath(u"decisions.json"_s), pictures});
    }

    QTemporaryDir m_root;
    QString m_take = m_root.filePath(u"a take"_s);
    TakePlan m_plan = makeTake({.cameras = 3, .seconds = 4, .fps = {}, .seed = 3}, m_take);
};

QTEST_MAIN(CutTest)
#include "cut_test.moc"
