// SPDX-License-Identifier: Apache-2.0

// What strangers on the lab's network may send, and what must go on meanwhile.

#include "lab_phones.h"

#include <QFile>
#include <QtTest>

#include <sys/socket.h>

#include <functional>
#include <memory>
#include <thread>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int packetsPerSecond = 50'000;

/// True when a datagram has come that nobody has read.
bool hasHeard(const FileDescriptor &socket)
{
    std::byte any{};
    return ::recv(socket.get(), &any, 1, MSG_DONTWAIT) >= 0;
}

/// Sends made packets at packetsPerSecond, in bursts of a millisecond, on a thread of its own.
class Flood {
public:
    explicit Flood(std::function<QByteArray(int number)> packet)
        : m_thread([this, packet = std::move(packet)] {
              auto next = std::chrono::steady_clock::now();
              while (!m_isOver) {
                  for (int i = 0; i < packetsPerSecond / 1000; ++i)
                      sendTo(m_stranger, u"10.77.0.1"_s, packet(m_sent++));
                  std::this_thread::sleep_until(next += 1ms);
              }
          })
    {
    }
    ~Flood()
    {
        m_isOver = true;
        m_thread.join();
    }
    [[nodiscard]] int sent() const { return m_sent; }
    [[nodiscard]] bool isAnswered() const { return hasHeard(m_stranger); }

private:
    const FileDescriptor m_stranger = phoneSocket(u"10.77.0.26"_s);
    std::atomic_bool m_isOver = false;
    std::atomic_int m_sent = 0;
    std::thread m_thread;
};

// The address sanitizer keeps what was freed, for a while.
#if __has_feature(address_sanitizer)
constexpr bool isMemoryOurs = false;
#else
constexpr bool isMemoryOurs = true;
#endif

qint64 residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QFile::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * 4096;
}

/// A status of 621 bytes, about what a phone sends.
QByteArray usualStatus(const QString &id, int number)
{
    return status(id, number).leftJustified(621, ' ');
}

} // namespace

class LiveFloodTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void keepsHearingThroughAFlood_data()
    {
        QTest::addColumn<std::function<QByteArray(int)>>("packet");
        const auto row = [](const char *name, const std::function<QByteArray(int)> &packet) {
            QTest::newRow(name) << packet;
        };
        row("one camera", [](int number) { return usualStatus(u"loud"_s, number); });
        row("new cameras",
            [](int number) { return usualStatus(u"made up %1"_s.arg(number), number); });
        row("long rubbish", [](int) { return QByteArray(8192, '['); });
    }

    void keepsHearingThroughAFlood()
    {
        QFETCH(const std::function<QByteArray(int)>, packet);
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        // The system may drop a datagram under such a load; a phone says it again.
        const auto hears = [&](int battery) {
            sendToGroup(phone, status(u"honest"_s, battery));
            return batteryOf(discovery, u"honest"_s) == battery;
        };
        QTRY_VERIFY(discovery.isListening());
        QTRY_VERIFY(hears(1));

        const qint64 before = residentBytes();
        const Flood flood(packet);
        // Long enough for a hundred thousand different ones.
        QTRY_VERIFY_WITH_TIMEOUT(flood.sent() > 110'000, 60'000);
        QVERIFY(discovery.livenessTick() >= 1); // timers had their turns
        QVERIFY(discovery.cameras().size() <= CameraList::maximumCameras);
        // Among as many made-up ones as there is room for.
        QTRY_VERIFY_WITH_TIMEOUT(hears(2), 60'000);
        QVERIFY(!isMemoryOurs || residentBytes() - before < qint64{64} << 20);
        QVERIFY(!flood.isAnswered()); // whoever names another's address makes it no echo
    }

    void endsPromptlyWhateverGoesOn()
    {
        const Flood flood([](int number) { return usualStatus(u"loud"_s, number); });
        auto discovery = std::make_unique<LiveCameraDiscovery>();
        discovery->rescan();
        QTRY_VERIFY(discovery->isActiveScanning());
        QTRY_VERIFY(find(*discovery, u"loud"_s));
        discovery.reset();
        // At once: made and ended before it could begin.
        LiveCameraDiscovery();
    }
};

QTEST_GUILESS_MAIN(LiveFloodTest)
#include "live_flood_test.moc"
