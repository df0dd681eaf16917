// SPDX-License-Identifier: Apache-2.0

#include "preview/preview_network_policy.h"
#include "preview/preview_roster.h"

#include <QtTest>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

using Policy = VORNPreviewNetworkPolicy;

namespace {

PreviewCapabilities link(std::optional<double> bandGHz, std::optional<double> usableMbps)
{
    PreviewCapabilities capabilities;
    capabilities.version = 1;
    capabilities.wifiBandGHz = bandGHz;
    capabilities.usableMbps = usableMbps;
    return capabilities;
}

constexpr WallTime now{1'000'000s};

LiveCamera camera(const QString &id, const QString &role = u"CAMERA"_s,
                  std::chrono::milliseconds age = 0ms)
{
    LiveCamera record;
    record.id = id;
    record.role = role;
    record.lastSeen = now - age;
    return record;
}

} // namespace

class PreviewPolicyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsTheEffectivePolicy_data()
    {
        using Cameras = std::vector<PreviewCapabilities>;
        QTest::addColumn<Policy>("chosen");
        QTest::addColumn<Cameras>("cameras");
        QTest::addColumn<Policy>("effective");
        const PreviewCapabilities fast = link(5.0, 70.0);
        PreviewCapabilities silent = fast;
        silent.version = {};
        const auto row = [](const char *name, const Cameras &cameras, Policy effective) {
            QTest::newRow(name) << Policy::automatic << cameras << effective;
        };
        row("no camera", {}, Policy::conservative24GHz);
        row("two fast ones", {fast, fast}, Policy::performance5GHz);
        row("exactly enough", {link(4.9, 65.0)}, Policy::performance5GHz);
        row("one at 2.4 GHz", {fast, link(2.4, 70.0)}, Policy::conservative24GHz);
        row("one a little slow", {link(5.0, 64.9), fast}, Policy::conservative24GHz);
        row("one without a band", {fast, link({}, 70.0)}, Policy::conservative24GHz);
        row("one without a rate", {fast, link(5.0, {})}, Policy::conservative24GHz);
        row("one that never said", {fast, silent}, Policy::conservative24GHz);
        row("no number", {link(std::nan(""), 70.0)}, Policy::conservative24GHz);
        QTest::newRow("chosen by the user, fast")
            << Policy::performance5GHz << Cameras{silent} << Policy::performance5GHz;
        QTest::newRow("chosen by the user, slow")
            << Policy::conservative24GHz << Cameras{fast} << Policy::conservative24GHz;
    }

    void findsTheEffectivePolicy()
    {
        QFETCH(const Policy, chosen);
        QFETCH(const std::vector<PreviewCapabilities>, cameras);
        QTEST(effective(chosen, cameras), "effective");
    }

    void namesItsPolicies()
    {
        QStringList texts;
        for (const Policy policy : allPreviewNetworkPolicies) {
            texts << id(policy) << title(policy) << target(policy);
            QCOMPARE(previewNetworkPolicy(id(policy)), policy);
        }
        QCOMPARE(texts, (QStringList{u"automatic"_s, u"Auto"_s, u"Capability measured"_s,
                                     u"performance5GHz"_s, u"5 GHz Performance"_s,
                                     u"65–70 Mbps usable target"_s, u"conservative24GHz"_s,
                                     u"2.4 GHz Conservative"_s, u"Reduced selected streams"_s}));
        QCOMPARE(previewNetworkPolicy(u"Automatic"_s), std::nullopt);
    }

    void letsTheFirstFourCamerasStream_data()
    {
        using Cameras = std::vector<LiveCamera>;
        using IDs = std::vector<QString>;
        QTest::addColumn<Cameras>("cameras");
        QTest::addColumn<IDs>("ids");
        QTest::newRow("none") << Cameras{} << IDs{};
        QTest::newRow("in list order")
            << Cameras{camera(u"b"_s), camera(u"a"_s)} << IDs{u"b"_s, u"a"_s};
        QTest::newRow("no director")
            << Cameras{camera(u"a"_s, u"director"_s), camera(u"b"_s, u"DIRECTOR"_s),
                       camera(u"c"_s, u"Directors"_s)}
            << IDs{u"c"_s};
        QTest::newRow("just online")
            << Cameras{camera(u"a"_s, u"CAMERA"_s, 6499ms), camera(u"b"_s, u"CAMERA"_s, 6500ms)}
            << IDs{u"a"_s};
        QTest::newRow("no more than four")
            << Cameras{camera(u"a"_s), camera(u"b"_s),          camera(u"c"_s, u"director"_s),
                       camera(u"d"_s), camera(u"e"_s, {}, 10s), camera(u"f"_s),
                       camera(u"g"_s)}
            << IDs{u"a"_s, u"b"_s, u"d"_s, u"f"_s};
        // They change places in the list with each of their updates.
        QTest::newRow("the same of one name")
            << Cameras{camera(u"e"_s), camera(u"d"_s), camera(u"c"_s), camera(u"b"_s),
                       camera(u"a"_s)}
            << IDs{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
    }

    void letsTheFirstFourCamerasStream()
    {
        QFETCH(const std::vector<LiveCamera>, cameras);
        QFETCH(const std::vector<QString>, ids);
        std::vector<QString> eligible;
        for (const LiveCamera &one : LivePreviewRoster::eligible(cameras, now))
            eligible.push_back(one.id);
        QCOMPARE(eligible, ids);
        QCOMPARE(LivePreviewRoster::eligibleIDs(cameras, now),
                 std::set<QString>(ids.begin(), ids.end()));
    }
};

QTEST_GUILESS_MAIN(PreviewPolicyTest)
#include "preview_policy_test.moc"
