// SPDX-License-Identifier: Apache-2.0

// Whole phones on the lab's network, as the rig plays them.

#include "lab_phones.h"
#include "rig_phones.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 30'000;

RigPhonesOptions few(int count)
{
    RigPhonesOptions options;
    options.count = count;
    return options;
}

} // namespace

class LivePhonesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void outlivesHostilePackets()
    {
        constexpr auto taken = true;
        constexpr auto refused = false;
        const std::vector<std::pair<QString, bool>> packets{
            {u"largest"_s, taken},         {u"oversized"_s, refused},
            {u"jumbo"_s, refused},         {u"empty"_s, refused},
            {u"truncated"_s, refused},     {u"binary"_s, refused},
            {u"array"_s, refused},         {u"deep"_s, refused},
            {u"wrong-version"_s, refused}, {u"boolean-version"_s, refused},
            {u"other-sender"_s, refused},  {u"long-id"_s, refused},
            {u"null-session"_s, refused},  {u"huge-sequence"_s, refused},
            {u"huge-numbers"_s, taken},    {u"infinite"_s, refused},
            {u"wrong-types"_s, refused},   {u"duplicate-keys"_s, taken},
            {u"invalid-utf8"_s, refused},  {u"markup-name"_s, taken},
            {u"hidden-name"_s, taken},     {u"long-name"_s, taken}};
        RigPhones phones(few(2));
        phones.must(u"all interval 100"_s);
        LiveCameraDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(discovery.cameras().size(), 2U, limitMs);
        phones.must(u"all status off"_s);
        phones.must(u"all identity garbage"_s);
        // Each would change what is known of cam-a, and is followed by a right one of cam-b.
        for (const auto &[name, isTaken] : packets) {
            const QString before = find(discovery, u"cam-a"_s)->takeId;
            phones.must(u"all set takeId \"%1\""_s.arg(name));
            phones.must(u"cam-a send "_s + name);
            phones.must(u"cam-b send largest"_s);
            QTRY_COMPARE_WITH_TIMEOUT(find(discovery, u"cam-b"_s)->takeId, name, limitMs);
            QCOMPARE(find(discovery, u"cam-a"_s)->takeId, isTaken ? name : before);
        }
        QCOMPARE(discovery.cameras().size(), 2U);
    }
};

QTEST_GUILESS_MAIN(LivePhonesTest)
#include "live_phones_test.moc"
