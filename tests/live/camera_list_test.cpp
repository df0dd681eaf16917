// SPDX-License-Identifier: Apache-2.0

#include "live/camera_list.h"
#include "live/snapshot_batch.h"
#include "packets.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const WallTime start{20'000 * 24h};

CameraSnapshot snapshot(const QString &id, const char *payload = "{}",
                        const QString &host = u"10.0.0.2"_s)
{
    return {packet(id, "{}", payload), host};
}

CameraSnapshot named(const QString &id, const QString &name)
{
    return {{.type = u"status"_s, .sender = id, .payload = {{u"name"_s, name}}}, u"10.0.0.2"_s};
}

QString ids(const CameraList &list)
{
    QStringList all;
    for (const LiveCamera &camera : list.cameras())
        all += camera.id;
    return all.join(u' ');
}

} // namespace

class CameraListTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void beginsWithDefaultsAndKeepsWhatIsNotSaidAgain()
    {
        const char *everything =
            "{'name':'One','role':'DIRECTOR','recording':true,'recordingSinceMs':17.9,"
            "'takeId':'t','battery':true,'freeGb':12.5,'leftDb':-3,'rightDb':-4.5,'channels':2.9,"
            "'quality':'4K','aspect':'16:9','previewRotation':-90,'previewCapabilities':{'v':1},"
            "'previewTransport':{'codec':'JPEG'}}";
        CameraList list;
        QVERIFY(list.apply(snapshot(u"a"_s), start));
        LiveCamera expected;
        expected.id = u"a"_s;
        expected.name = u"a"_s;
        expected.host = u"10.0.0.2"_s;
        expected.lastSeen = start;
        QCOMPARE(list.cameras(), std::vector{expected});
        QCOMPARE(expected.role, u"CAMERA"_s);
        QCOMPARE(expected.leftDB, -60.0);
        QCOMPARE(expected.quality, u"—"_s);

        list.apply(snapshot(u"a"_s, everything), start);
        expected.name = u"One"_s;
        expected.role = u"DIRECTOR"_s;
        expected.recording = true;
        expected.recordingSinceMs = 17;
        expected.takeId = u"t"_s;
        expected.battery = 1;
        expected.freeGB = 12.5;
        expected.leftDB = -3;
        expected.rightDB = -4.5;
        expected.channels = 2;
        expected.quality = u"4K"_s;
        expected.aspect = u"16:9"_s;
        expected.previewRotation = -90;
        expected.previewCapabilities.version = 1;
        expected.previewTransport.codec = u"JPEG"_s;
        QCOMPARE(list.cameras(), std::vector{expected});

        // Of the wrong type throughout, and from another address.
        list.apply(snapshot(u"a"_s,
                            "{'name':1,'role':null,'recording':1,'recordingSinceMs':'1',"
                            "'takeId':[],'battery':1e300,'freeGb':'1','leftDb':{},'rightDb':null,"
                            "'channels':'2','quality':2,'aspect':false,'previewRotation':'0',"
                            "'previewCapabilities':{'v':2},'previewTransport':{}}",
                            u"10.0.0.3"_s),
                   start + 1s);
        expected.host = u"10.0.0.3"_s;
        expected.lastSeen = start + 1s;
        QCOMPARE(list.cameras(), std::vector{expected});

        list.apply(snapshot(u"a"_s, "{'takeId':'','recording':false}"), start + 2s);
        QCOMPARE(list.cameras().front().takeId, QString());
        QVERIFY(!list.cameras().front().recording);
    }

    /// The order that sorting anew after each snapshot gives: equal names swap as their cameras
    /// speak.
    void sortsAsAStableSortWould()
    {
        CameraList list;
        std::vector<std::pair<QString, QString>> sorted; // id, name
        unsigned random = 1;
        for (int i = 0; i < 2000; ++i) {
            random = random * 1664525 + 1013904223;
            const QString id = QString::number(random >> 28);
            const QString name(QStringView(u"aBbc")[qsizetype(random >> 20) % 4]);
            list.apply(named(id, name), start);
            std::erase_if(sorted, [&](const auto &one) { return one.first == id; });
            sorted.emplace_back(id, name);
            std::ranges::stable_sort(sorted, {},
                                     [](const auto &one) { return one.second.toLower(); });
            QStringList expected;
            for (const auto &one : sorted)
                expected += one.first;
            QCOMPARE(ids(list), expected.join(u' '));
        }
    }

    void agesCameras()
    {
        CameraList list;
        list.apply(snapshot(u"a"_s, "{'recording':true,'battery':5}"), start);
        list.apply(snapshot(u"b"_s), start + 10s);
        const LiveCamera first = list.cameras().front();
        QVERIFY(first.isOnline(start + 6499ms) && first.displaysRecording(start + 6499ms));
        QVERIFY(!first.isOnline(start + 6500ms) && !first.displaysRecording(start + 6500ms));
        QVERIFY(list.isAnyOnline(start + 16499ms) && !list.isAnyOnline(start + 16500ms));
        QVERIFY(!list.removeExpired(start + 29999ms));
        QVERIFY(list.removeExpired(start + 30s));
        QCOMPARE(ids(list), u"b"_s);
        list.apply(snapshot(u"a"_s), start + 31s);
        QVERIFY(!list.cameras().front().battery && !list.cameras().front().recording);
    }

    void refusesNewCamerasWhenFull()
    {
        CameraList list;
        for (std::size_t i = 0; i < CameraList::maximumCameras; ++i)
            QVERIFY(list.apply(snapshot(QString::number(i)), start + (i == 7 ? 0s : 1s)));
        QVERIFY(!list.apply(snapshot(u"late"_s), start));
        QVERIFY(list.apply(snapshot(u"3"_s, "{'battery':5}"), start + 2s));
        QCOMPARE(list.cameras().size(), CameraList::maximumCameras);
        QVERIFY(list.removeExpired(start + 30s));
        QVERIFY(list.apply(snapshot(u"late"_s), start + 30s));
    }

    /// A batch leaves the list as the snapshots one by one would have.
    void batchesAreAsGoodAsSingles()
    {
        CameraList singly;
        CameraList batched;
        SnapshotBatch batch;
        const CameraSnapshot heard[] = {
            snapshot(u"a"_s, "{'name':'N','battery':5,'recording':true}"),
            snapshot(u"b"_s, "{'name':'N'}"),
            snapshot(u"a"_s, "{'name':7,'battery':6}", u"10.0.0.9"_s),
            snapshot(u"c"_s, "{'name':'A'}"),
            snapshot(u"c"_s, "{'name':'Z','previewTransport':{'codec':'JPEG'}}"),
        };
        for (const CameraSnapshot &one : heard) {
            singly.apply(one, start);
            QVERIFY(batch.hasRoomFor(one.id()));
            batch.add(one);
        }
        auto taken = batch.take();
        QCOMPARE(taken.size(), 3U);
        QVERIFY(batch.isEmpty());
        for (CameraSnapshot &one : taken)
            batched.apply(std::move(one), start);
        QCOMPARE(batched.cameras(), singly.cameras());
        QCOMPARE(ids(batched), u"b a c"_s);
    }

    void batchesHoldWhatTheListWouldTake()
    {
        const int bound = int(CameraList::maximumCameras);
        SnapshotBatch batch;
        batch.setListed({u"listed"_s, u"listed too"_s});
        for (int i = 0; i < bound - 2; ++i) {
            QVERIFY(batch.hasRoomFor(QString::number(i)));
            batch.add(snapshot(QString::number(i)));
        }
        QVERIFY(!batch.hasRoomFor(u"one more"_s));
        QVERIFY(batch.hasRoomFor(u"listed"_s));
        QVERIFY(batch.hasRoomFor(u"5"_s));
        batch.add(snapshot(u"listed"_s));
        QVERIFY(batch.hasRoomFor(u"listed too"_s));
        QCOMPARE(batch.take().size(), std::size_t(bound - 1));
        QVERIFY(batch.hasRoomFor(u"one more"_s));
        // What waited while the list filled up still counts.
        batch.add(snapshot(u"waiting"_s));
        QSet<QString> full;
        for (int i = 0; i < bound - 1; ++i)
            full.insert(QString::number(i));
        batch.setListed(full);
        QVERIFY(!batch.hasRoomFor(u"one more"_s));
        QVERIFY(batch.hasRoomFor(u"waiting"_s) && batch.hasRoomFor(u"0"_s));
    }
};

QTEST_APPLESS_MAIN(CameraListTest)
#include "camera_list_test.moc"
