// SPDX-License-Identifier: Apache-2.0

#include "live/peer_snapshot_order.h"
#include "live/peer_snapshot_orders.h"
#include "packets.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr SnapshotPermissions anything{.allowSessionSwitch = true, .allowLegacyReset = true};
constexpr SnapshotPermissions nothingNew{.allowSessionSwitch = false, .allowLegacyReset = false};
constexpr auto sessionS = "3F2504E0-4F89-41D3-9A0C-0305E82C3301";
constexpr auto sessionT = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";

QByteArray stamps(const char *session, int sequence)
{
    return QByteArray("{'sessionId':'") + session + "','seq':" + QByteArray::number(sequence) + '}';
}

QByteArray numberedSession(int number)
{
    return QByteArray("00000000-0000-0000-0000-")
           + QByteArray::number(number).rightJustified(12, '0');
}

/// One camera, and a clock that the test moves.
struct Peer {
    PeerSnapshotOrder order;
    MonotonicClock::time_point now;

    bool accepts(const char *stamps, SnapshotPermissions permissions = anything)
    {
        return order.accept(packet(u"a"_s, stamps), now, permissions);
    }
    bool accepts(const QByteArray &stamps, SnapshotPermissions permissions = anything)
    {
        return accepts(stamps.constData(), permissions);
    }
};

} // namespace

class SnapshotOrderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void countsUpWithinASession()
    {
        Peer peer;
        QVERIFY(peer.accepts(stamps(sessionS, 0)));
        QVERIFY(peer.accepts(stamps(sessionS, 5)));
        QVERIFY(!peer.accepts(stamps(sessionS, 5)));
        QVERIFY(!peer.accepts(stamps(sessionS, 4)));
        QVERIFY(peer.accepts(stamps(QByteArray(sessionS).toLower().constData(), 6)));
        QVERIFY(!peer.accepts(stamps(sessionS, 6)));
        QVERIFY(peer.accepts(stamps(sessionS, 7), nothingNew));
    }

    void refusesMalformedStamps_data()
    {
        QTest::addColumn<bool>("isAccepted");
        const auto row = [](const QByteArray &text, bool isAccepted = false) {
            QTest::newRow(text.constData()) << isAccepted;
        };
        const auto sequence = [&row](const char *text, bool isAccepted = false) {
            row(QByteArray("{'sessionId':'3F2504E0-4F89-41D3-9A0C-0305E82C3301'") + text,
                isAccepted);
        };
        sequence("}");
        sequence(",'seq':true}");
        sequence(",'seq':-1}");
        sequence(",'seq':1.5}");
        sequence(",'seq':9007199254740992}");
        sequence(",'seq':9007199254740991}", true);
        row("{'sessionId':'00000000-0000-0000-0000-000000000000','seq':1}", true);
        row("{'sessionId':'{3F2504E0-4F89-41D3-9A0C-0305E82C3301}','seq':1}");
        row("{'sessionId':null,'seq':1}");
        row("{'sessionId':7,'seq':1,'sentMs':1}");
        row("{'seq':1}");
        row("{'seq':1,'sentMs':1}");
        row("{'sentMs':-1}");
        row("{'sentMs':null}");
        row("{'sentMs':1}", true);
        row("{}", true);
    }

    void refusesMalformedStamps()
    {
        QFETCH(const bool, isAccepted);
        QCOMPARE(Peer().accepts(QTest::currentDataTag()), isAccepted);
    }

    void leavesASessionForGood()
    {
        Peer peer;
        QVERIFY(!peer.accepts(stamps(sessionS, 1), nothingNew));
        QVERIFY(peer.accepts(stamps(sessionS, 1)));
        QVERIFY(!peer.accepts(stamps(sessionT, 9), nothingNew));
        QVERIFY(peer.accepts(stamps(sessionS, 2), nothingNew));
        QVERIFY(peer.accepts(stamps(sessionT, 0)));
        QVERIFY(!peer.accepts(stamps(sessionS, 100)));
        QVERIFY(peer.accepts(stamps(sessionT, 1)));
        // Once in sessions, always in sessions.
        QVERIFY(!peer.accepts("{}"));
        peer.now += 1h;
        QVERIFY(!peer.accepts("{'sentMs':1}"));
    }

    void forgetsTheSeventeenthSessionBack()
    {
        Peer peer;
        for (int session = 0; session <= 16; ++session)
            QVERIFY(peer.accepts(stamps(numberedSession(session).constData(), 1)));
        QVERIFY(!peer.accepts(stamps(numberedSession(0).constData(), 2)));
        QVERIFY(peer.accepts(stamps(numberedSession(17).constData(), 1)));
        QVERIFY(!peer.accepts(stamps(numberedSession(1).constData(), 2)));
        QVERIFY(peer.accepts(stamps(numberedSession(0).constData(), 2)));
    }

    void followsALegacyClock()
    {
        Peer peer;
        QVERIFY(peer.accepts("{'sentMs':1000}", nothingNew));
        QVERIFY(peer.accepts("{'sentMs':1000}", nothingNew));
        QVERIFY(!peer.accepts("{'sentMs':999}"));
        // Refusals do not count as having been heard.
        peer.now += 6500ms;
        QVERIFY(!peer.accepts("{'sentMs':999}"));
        peer.now += 1ms;
        QVERIFY(!peer.accepts("{'sentMs':999}", nothingNew));
        QVERIFY(peer.accepts("{'sentMs':999}"));
        QVERIFY(!peer.accepts("{'sentMs':998}"));
        // Without a clock it is heard, and its clock stays where it was.
        QVERIFY(!peer.accepts("{}", nothingNew));
        QVERIFY(peer.accepts("{}"));
        QVERIFY(!peer.accepts("{'sentMs':998}"));
        QVERIFY(peer.accepts("{'sentMs':999}"));
        // It may move on to sessions at any time.
        QVERIFY(!peer.accepts(stamps(sessionS, 1), nothingNew));
        QVERIFY(peer.accepts(stamps(sessionS, 1)));
    }

    void remembers128Cameras()
    {
        PeerSnapshotOrders orders;
        const auto heard = [&](int camera, const char *stamps) {
            return orders.acceptDatagram(packet(QString::number(camera), stamps), {});
        };
        QVERIFY(heard(0, "{'sentMs':9}"));
        for (int camera = 1; camera < 127; ++camera)
            QVERIFY(heard(camera, "{'sentMs':9}"));
        QVERIFY(!heard(127, "{'seq':1}")); // refused, and takes a place all the same
        QVERIFY(!heard(0, "{'sentMs':8}"));
        QVERIFY(heard(128, "{'sentMs':9}"));
        QVERIFY(heard(0, "{'sentMs':8}")); // the first went, although it was just heard
        QVERIFY(heard(1, "{'sentMs':8}")); // and the second for its return
        QVERIFY(!heard(128, "{'sentMs':8}"));
    }

    void refusesUnusableIds()
    {
        PeerSnapshotOrders orders;
        QVERIFY(!orders.acceptDatagram(packet({}), {}));
        QVERIFY(!orders.acceptDatagram(packet(QString(129, u'x')), {}));
        QCOMPARE(orders.udpRevision(), 0U);
    }

    void letsDatagramsAloneStartAnew()
    {
        PeerSnapshotOrders orders;
        const auto probed = [&](const QByteArray &stamps, std::uint64_t startRevision) {
            return orders.acceptProbe(packet(u"a"_s, stamps.constData()), startRevision, {});
        };
        const auto heard = [&](const QByteArray &stamps) {
            return orders.acceptDatagram(packet(u"a"_s, stamps.constData()), {});
        };
        // Never heard by datagram: a probe introduces it, and may switch its session.
        QVERIFY(probed(stamps(sessionS, 1), 0));
        QVERIFY(probed(stamps(sessionT, 1), 0));
        QCOMPARE(orders.udpRevision(), 0U);
        QVERIFY(heard(stamps(sessionT, 2)));
        QCOMPARE(orders.udpRevision(), 1U);
        // Heard since the probe began: the answer is dropped, newer or not.
        QVERIFY(!probed(stamps(sessionT, 3), 0));
        QVERIFY(!probed(stamps(sessionT, 2), 1));
        QVERIFY(probed(stamps(sessionT, 3), 1));
        QVERIFY(!probed(stamps(numberedSession(1).constData(), 1), 1));
        QVERIFY(heard(stamps(numberedSession(1).constData(), 1)));
    }

    void boundsTheMemoryOfDatagrams()
    {
        PeerSnapshotOrders orders;
        const auto isKnown = [&](int camera) {
            // Only a camera unknown by datagram lets a probe set its clock back.
            return !orders.acceptProbe(packet(QString::number(camera)), orders.udpRevision(), {});
        };
        const int bound = int(PeerSnapshotOrders::maximumRevisions);
        for (int camera = 0; camera < bound; ++camera)
            QVERIFY(orders.acceptDatagram(packet(QString::number(camera)), {}));
        QVERIFY(orders.acceptDatagram(packet(u"0"_s), {}));
        QVERIFY(orders.acceptDatagram(packet(u"one more"_s), {}));
        QVERIFY(isKnown(0)); // heard again, so younger than
        QVERIFY(!isKnown(1));
        QVERIFY(isKnown(2));
    }
};

QTEST_APPLESS_MAIN(SnapshotOrderTest)
#include "snapshot_order_test.moc"
