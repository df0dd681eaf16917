// SPDX-License-Identifier: Apache-2.0

#include "director/director_cameras.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr WallTime now{1'000'000h};

/// A camera heard `age` ago.
LiveCamera camera(const QString &id, const QString &name, std::chrono::milliseconds age = 0ms,
                  const QString &role = u"CAMERA"_s)
{
    LiveCamera record;
    record.id = id;
    record.name = name;
    record.role = role;
    record.lastSeen = now - age;
    return record;
}

LiveCamera withLink(LiveCamera record, double bandGHz)
{
    record.previewCapabilities.version = 1;
    record.previewCapabilities.wifiBandGHz = bandGHz;
    record.previewCapabilities.usableMbps = 70;
    return record;
}

LiveEditTimeline timelineOf(const QString &preview, const QString &program)
{
    LiveEditTimeline timeline;
    if (!preview.isEmpty())
        timeline.previewCameraID = preview;
    if (!program.isEmpty())
        timeline.programCameraID = program;
    return timeline;
}

} // namespace

class DirectorCamerasTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void ordersTheWall()
    {
        const std::vector<LiveCamera> cameras{
            camera(u"late"_s, u"alpha"_s, 6500ms), // just offline
            camera(u"z"_s, u"zulu"_s, 6499ms),
            camera(u"desk"_s, u"Aaron"_s, 0ms, u"Director"_s),
            camera(u"twin 2"_s, u"Mike"_s),
            camera(u"twin 1"_s, u"MIKE"_s),
            camera(u"gone"_s, u"Able"_s, 29s),
            camera(u"b"_s, u"bravo"_s, 0ms, u"director's cut"_s),
        };
        QStringList ids;
        for (const LiveCamera *record : cameraWallCameras(cameras, now, cameraOrder()))
            ids << record->id;
        QCOMPARE(ids.join(u", "), u"b, twin 1, twin 2, z, gone, late"_s);
        QVERIFY(cameraWallCameras({}, now, cameraOrder()).empty());
        // Preview is filled in the list's order, which is not the wall's.
        QCOMPARE(firstOnlineCamera(cameras, now)->id, u"z"_s);
        QVERIFY(!firstOnlineCamera(cameras, now + 7s));
    }

    void keepsAudioChannels()
    {
        std::vector<AudioChannelState> channels = audioChannels(
            {}, std::vector{camera(u"a"_s, u"Ada"_s), camera(u"d"_s, u"Desk"_s, 0ms, u"director"_s),
                            camera(u"b"_s, u"Bram"_s, 10s)});
        QCOMPARE(channels, (std::vector<AudioChannelState>{
                               {u"a"_s, u"Ada"_s, 0.72, 0, false, false}, {u"b"_s, u"Bram"_s}}));
        channels[0].gain = 0.1;
        channels[0].muted = true;
        const auto kept = audioChannels(
            channels, std::vector{camera(u"c"_s, u"Cleo"_s), camera(u"a"_s, u"Renamed"_s)});
        QCOMPARE(kept, (std::vector<AudioChannelState>{{u"c"_s, u"Cleo"_s}, channels[0]}));
        // Who left and returns begins anew.
        const auto without = audioChannels(kept, std::vector{camera(u"c"_s, u"Cleo"_s)});
        QCOMPARE(audioChannels(without, std::vector{camera(u"a"_s, u"Ada"_s)}),
                 (std::vector<AudioChannelState>{{u"a"_s, u"Ada"_s}}));
    }

    void allowsATake_data()
    {
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("program");
        QTest::addColumn<bool>("isRunning");
        QTest::addColumn<bool>("isAllowed");
        QTest::newRow("first of a session") << u"on"_s << QString() << true << true;
        QTest::newRow("next") << u"on"_s << u"off"_s << true << true;
        QTest::newRow("no session") << u"on"_s << u"off"_s << false << false;
        QTest::newRow("nothing in Preview") << QString() << u"on"_s << true << false;
        QTest::newRow("offline") << u"off"_s << u"on"_s << true << false;
        QTest::newRow("unknown") << u"gone"_s << u"on"_s << true << false;
        QTest::newRow("same camera") << u"on"_s << u"on"_s << true << false;
    }

    void allowsATake()
    {
        QFETCH(const QString, preview);
        QFETCH(const QString, program);
        QFETCH(const bool, isRunning);
        QFETCH(const bool, isAllowed);
        const std::vector cameras{camera(u"on"_s, u"A"_s), camera(u"off"_s, u"B"_s, 7s)};
        LiveEditTimeline timeline = timelineOf(preview, program);
        if (isRunning)
            timeline.start(now);
        QCOMPARE(canTake(timeline, cameras, now), isAllowed);
    }

    void choosesLargePictures_data()
    {
        QTest::addColumn<QString>("policy");
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("effectivePolicy");
        QTest::addColumn<QString>("selected");
        const auto row = [](const char *name, const QString &policy, const QString &monitors,
                            const QString &effectivePolicy, const QString &selected) {
            QTest::newRow(name) << policy << monitors.section(u'|', 0, 0)
                                << monitors.section(u'|', 1) << effectivePolicy << selected;
        };
        const QString automatic = u"automatic"_s;
        const QString performance = u"performance5GHz"_s;
        const QString conservative = u"conservative24GHz"_s;
        row("both fast", automatic, u"fast|fast2"_s, performance, u"fast, fast2"_s);
        row("Preview alone", automatic, u"fast|"_s, performance, u"fast"_s);
        row("Program alone", automatic, u"|fast"_s, performance, u"fast"_s);
        row("slow on Program", automatic, u"fast|slow"_s, conservative, u"fast"_s);
        row("slow in Preview", automatic, u"slow|fast"_s, conservative, u"slow"_s);
        row("offline is not asked", automatic, u"fast|slow and off"_s, performance,
            u"fast, slow and off"_s);
        row("nobody to ask", automatic, u"slow and off|"_s, conservative, u"slow and off"_s);
        row("nothing at all", automatic, u"|"_s, conservative, QString());
        row("saved, Preview empty", conservative, u"|fast"_s, conservative, u"fast"_s);
    }

    void choosesLargePictures()
    {
        QFETCH(const QString, policy);
        QFETCH(const QString, preview);
        QFETCH(const QString, program);
        QFETCH(const QString, selected);
        const std::vector cameras{withLink(camera(u"fast"_s, u"A"_s), 5),
                                  withLink(camera(u"fast2"_s, u"B"_s), 5),
                                  withLink(camera(u"slow"_s, u"C"_s), 2.4),
                                  withLink(camera(u"slow and off"_s, u"D"_s, 7s), 2.4)};
        const LiveEditTimeline timeline = timelineOf(preview, program);
        const auto effectivePolicy =
            effectivePreviewPolicy(previewNetworkPolicy(policy).value(), timeline, cameras, now);
        QTEST(id(effectivePolicy), "effectivePolicy");
        const auto ids = selectedProfileCameraIDs(timeline, effectivePolicy);
        QCOMPARE(QStringList(ids.begin(), ids.end()).join(u", "), selected);
    }
};

QTEST_GUILESS_MAIN(DirectorCamerasTest)
#include "director_cameras_test.moc"
