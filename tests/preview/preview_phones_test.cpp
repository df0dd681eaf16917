// SPDX-License-Identifier: Apache-2.0

// The store with a simulated phone, which behaves in all the ways that a preview server can.

#include "preview/live_preview_store.h"
#include "rig_phones.h"

#include <QSignalSpy>
#include <QtTest>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const auto sizeRejected = u"Preview frame size was rejected"_s;
const auto incomplete = u"Preview response was incomplete"_s;
const auto noJPEG = u"Preview frame was not a valid JPEG"_s;

} // namespace

class PreviewPhonesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        m_phones.emplace(RigPhonesOptions{.count = 1});
        m_phones->render();
        const QJsonObject phone = m_phones->phone(u"cam-a"_s);
        m_port = std::uint16_t(phone[u"previewPort"_s].toInt());
        m_camera.id = u"cam-a"_s;
        m_camera.host = u"127.0.0.2"_s;
        m_camera.lastSeen = std::chrono::system_clock::now() + 1h;
    }

    void init()
    {
        m_phones->must(u"cam-a reset"_s);
        // Patient enough for a phone on a busy machine, and not more.
        m_store = std::make_unique<LivePreviewStore>(
            PreviewOptions{.serverPort = m_port,
                           .limits = {.persistentWait = 1s, .legacyWait = 500ms, .wholeFrame = 1s},
                           .pace = {.firstBackOff = 20ms, .maximumBackOff = 100ms}});
    }

    void cleanup() { m_store.reset(); }
    void cleanupTestCase() { m_phones.reset(); }

    void tellsWhatIsWrongUntilThereIsAPicture_data()
    {
        QTest::addColumn<QString>("error");
        QTest::newRow("refuse") << u"Preview connection failed"_s;
        QTest::newRow("silent") << incomplete;
        QTest::newRow("drop") << incomplete;
        QTest::newRow("slow") << incomplete;
        QTest::newRow("wrong-length") << incomplete;
        QTest::newRow("huge") << sizeRejected;
        QTest::newRow("zero") << sizeRejected;
        QTest::newRow("claim") << sizeRejected;
        QTest::newRow("truncate") << noJPEG;
        QTest::newRow("garbage") << noJPEG;
        QTest::newRow("bomb") << noJPEG;
    }

    void tellsWhatIsWrongUntilThereIsAPicture()
    {
        QFETCH(const QString, error);
        m_phones->must(u"cam-a preview "_s + QString::fromLatin1(QTest::currentDataTag()));
        m_store->start({m_camera});
        QTRY_VERIFY(m_store->errors().contains(m_camera.id));
        QCOMPARE(m_store->errors().at(m_camera.id), error);
        QVERIFY(!hasFrame());

        m_phones->must(u"cam-a preview ok"_s);
        QTRY_VERIFY(hasFrame());
        QVERIFY(m_store->errors().empty());
    }

    void showsWhatIsUnusualButRight_data()
    {
        QTest::addColumn<Transport>("transport");
        QTest::newRow("largest") << Transport::persistent;
        QTest::newRow("legacy-only") << Transport::legacy;
    }

    void showsWhatIsUnusualButRight()
    {
        QFETCH(const Transport, transport);
        m_phones->must(u"cam-a preview "_s + QString::fromLatin1(QTest::currentDataTag()));
        m_store->start({m_camera});
        QTRY_VERIFY(hasFrame());
        QCOMPARE(frame().transport, transport);
        QVERIFY(m_store->errors().empty());
    }

    void aPhoneThatFallsAsleepComesBackByItself()
    {
        m_store->start({m_camera});
        QTRY_VERIFY(hasFrame());
        QSignalSpy frames(m_store.get(), &LivePreviewStore::frameChanged);
        QSignalSpy errors(m_store.get(), &LivePreviewStore::errorChanged);
        m_phones->must(u"cam-a sleep"_s);
        while (frames.wait(1500)) // longer than the store waits for a picture
            frames.clear();
        QVERIFY(hasFrame());
        m_phones->must(u"cam-a wake"_s);
        QVERIFY(frames.wait());
        QVERIFY(errors.isEmpty());
    }

private:
    bool hasFrame() const { return m_store->wallFrames().contains(m_camera.id); }
    const PreviewFrame &frame() const { return m_store->wallFrames().at(m_camera.id); }

    std::optional<RigPhones> m_phones;
    std::uint16_t m_port = 0;
    LiveCamera m_camera;
    std::unique_ptr<LivePreviewStore> m_store;
};

QTEST_GUILESS_MAIN(PreviewPhonesTest)
#include "preview_phones_test.moc"
