// What strangers on the lab's network may send, and what must go on meanwhile.

#include "lab_phones.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>
#include <thread>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int packetsPerSecond = 50'000;

/// Sends made packets at packetsPerSecond, in bursts of a millisecond, on a thread of its own.
class Flood {
public:
    explicit Flood(std::function<QByteArray(int number)> packet)
        : m_thread([this, packet = std::move(packet)] {
              const FileDescriptor stranger = phoneSocket(u"10.77.0.26"_s);
              auto next = std::chrono::steady_clock::now();
              while (!m_isOver) {
                  for (int i = 0; i < packetsPerSecond / 1000; ++i)
                      sendTo(stranger, u"10.77.0.1"_s, packet(m_sent++));
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

private:
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
        const auto hears = [&](int battery) {
            sendToGroup(phone, status(u"honest"_s, battery));
            return batteryOf(discovery, u"honest"_s) == battery;
        };
        QTRY_VERIFY(discovery.isListening());
        QTRY_VERIFY(hears(1));

        // How long the interface ever has to wait.
        QElapsedTimer sinceBeat;
        qint64 longestGap = 0;
        QTimer beat;
        beat.callOnTimeout([&] { longestGap = std::max(longestGap, sinceBeat.restart()); });
        const qint64 before = residentBytes();
        auto flood = std::make_unique<Flood>(packet);
        sinceBeat.start();
        beat.start(10ms);
        // Long enough for a hundred thousand different ones.
        QTRY_VERIFY_WITH_TIMEOUT(flood->sent() > 110'000, 60'000);
        beat.stop();
        const std::uint64_t ticks = discovery.livenessTick();
        QVERIFY(ticks >= 1); // timers had their turns
        QVERIFY(find(discovery, u"honest"_s));
        QVERIFY(discovery.cameras().size() <= CameraList::maximumCameras);
        flood.reset();

        QElapsedTimer recovery;
        recovery.start();
        QTRY_VERIFY(hears(2));
        const qint64 grown = residentBytes() - before;
        qInfo("longest wait of the interface %lld ms, heard again after %lld ms, %lld KiB more",
              longestGap, recovery.elapsed(), grown / 1024);
        QVERIFY(!isMemoryOurs || grown < qint64{64} << 20);
    }

    void hearsListedCamerasAmongMadeUpOnes()
    {
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        LiveCameraDiscovery discovery;
        QTRY_VERIFY(discovery.isListening());
        sendToGroup(phone, status(u"honest"_s, 1));
        QTRY_COMPARE(batteryOf(discovery, u"honest"_s), 1);
        const Flood flood([](int number) { return status(u"made up %1"_s.arg(number), number); });
        QTRY_COMPARE(discovery.cameras().size(), CameraList::maximumCameras);
        for (int battery = 2; battery < 6; ++battery) {
            // The system may drop a datagram under such a load; a phone says it again.
            const auto hears = [&] {
                sendToGroup(phone, status(u"honest"_s, battery));
                return batteryOf(discovery, u"honest"_s) == battery;
            };
            QTRY_VERIFY(hears());
        }
    }

    void endsPromptlyWhateverGoesOn()
    {
        const Flood flood([](int number) { return usualStatus(u"loud"_s, number); });
        auto discovery = std::make_unique<LiveCameraDiscovery>();
        discovery->rescan();
        QTRY_VERIFY(discovery->isActiveScanning());
        QTRY_VERIFY(find(*discovery, u"loud"_s));
        QElapsedTimer duration;
        duration.start();
        discovery.reset();
        qInfo("ended in %lld ms", duration.elapsed());
        // At once: made and ended before it could begin.
        LiveCameraDiscovery();
    }
};

QTEST_GUILESS_MAIN(LiveFloodTest)
#include "live_flood_test.moc"
