// SPDX-License-Identifier: Apache-2.0

// What a reader of its own understands of a director's cut, and what it refuses.

#include "rig/film/cut_reader.h"
#include "support.h"

#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

// Three seconds: a gap whose own time begins at 5 s, cam-b, a dissolve over four frames, cam-a.
constexpr auto document =
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

} // namespace

class CutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWhatAnEditorShows()
    {
        const DirectorCut cut = readDirectorCut(document);
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
        QString broken = QString::fromUtf8(document);
        QCOMPARE(broken.count(what), 1);
        broken.replace(what, instead);
        const QString text = thrownText([&] { (void)readDirectorCut(broken.toUtf8()); });
        QVERIFY2(text.contains(sentence) && !text.isEmpty(), qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(CutTest)
#include "cut_test.moc"
