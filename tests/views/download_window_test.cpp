// SPDX-License-Identifier: Apache-2.0

// The Library window while recordings come from phones on the lab's network.

#include "rig_phones.h"
#include "window_probe.h"

#include <QDir>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int clipBytes = 20'000'000;

} // namespace

class DownloadWindowTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_phones.must(u"all reset"_s);
        m_phones.must(u"all server on"_s);
        m_probe.emplace();
    }
    void cleanup() { m_probe.reset(); }

    void saysBeforeWhatADownloadNeeds()
    {
        QVERIFY(!view().canDownload());
        QCOMPARE(view().downloadObstacle(), u"No take is selected."_s);
        pair(u"cam-a"_s);
        QVERIFY(notice().startsWith(u"1 recording to fetch, 20.0 MB. The session ends in "_s));
        QVERIFY(probe().shows(notice()));
        pair(u"cam-b"_s);
        QTRY_VERIFY(notice().startsWith(u"2 recordings to fetch, 40.0 MB."_s));

        // What is there of a broken-off download need not come again.
        const VORNClip clip = store().selectedTake()->clips.front();
        const QString folder =
            QStringList{probe().folder(),           u"Videos"_s,   store().selectedProject()->id,
                        store().selectedTake()->id, clip.cameraId, clip.id}
                .join(u'/');
        QVERIFY(QDir().mkpath(folder));
        QFile partial(folder + u'/' + clip.fileName + u".part"_s);
        QVERIFY(partial.open(QFile::WriteOnly) && partial.resize(15'000'000));
        view().downloadOutlook()->refresh();
        QTRY_VERIFY2(notice().startsWith(u"2 recordings to fetch, 25.0 MB."_s),
                     qPrintable(notice()));
        QVERIFY(partial.remove());

        m_phones.must(u"cam-b expiry 2"_s);
        m_phones.must(u"cam-b server on"_s);
        pair(u"cam-b"_s);
        QVERIFY(view().canDownload());
        QTRY_COMPARE(view().downloadObstacle(),
                     u"Connect to the phones that hold this take's recordings."_s);
        QTRY_COMPARE(notice(), QString());
    }

    void tellsHowFarItIs()
    {
        pair(u"cam-a"_s);
        m_phones.must(u"cam-a http files body slow 2000000"_s);
        probe().click(probe().named(u"Download Take"_s));
        QTRY_VERIFY(view().downloadProgress()->fraction() > 0.05);
        QVERIFY(view().downloadProgress()->fraction() < 0.5);
        QVERIFY(view().downloadProgress()->bytesText().endsWith(u" / 20.0 MB"_s));
        QTRY_VERIFY(view().downloadProgress()->rateText().endsWith(u"MB/s"_s));
        QTRY_VERIFY(view().downloadProgress()->timeLeftText().endsWith(u" left"_s));
        QCOMPARE(notice(), QString()); // what is running needs no forecast
        static const QRegularExpression percent(u"^VORN Library — [1-9][0-9]? %$"_s);
        QTRY_VERIFY2(probe().window()->title().contains(percent),
                     qPrintable(probe().window()->title()));
        QVERIFY(probe().shows(u"Downloading cam-a  \u2022  1 of 1"_s));

        // The row of the transfer tells the same.
        probe().press(Qt::Key_2, Qt::ControlModifier);
        QTRY_VERIFY(probe().shows(store().transfers()[0].clipName + u", Downloading, Resuming"_s));
        QTRY_VERIFY(probe().listView(u"Transfers"_s)->height() > 100); // the row is in sight
        QTRY_VERIFY(probe().shows(view().dashboard()->runningTransfer()->bytesText()));
        QTRY_VERIFY(probe().shows(view().dashboard()->runningTransfer()->timeLeftText()));

        m_phones.must(u"cam-a http files ok"_s);
        m_phones.must(u"cam-a hang-up"_s);
        QTRY_VERIFY(!store().downloadProgress());
        QCOMPARE(probe().window()->title(), u"VORN Library"_s);
        QVERIFY(store().transfers()[0].phase == TransferPhase::failed);
        QTRY_VERIFY(probe().shows(view().errorMessage()));
        probe().press(Qt::Key_Escape);
        QTRY_VERIFY(probe().shows(u"%1, Failed, %2"_s.arg(store().transfers()[0].clipName,
                                                          store().transfers()[0].message)));
        QVERIFY(!view().canDownload());

        // The way out is the one that the obstacle names.
        m_phones.must(u"cam-a server on"_s);
        pair(u"cam-a"_s);
        probe().press(Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY_WITH_TIMEOUT(isComplete(*store().selectedTake()), limitMs);
        QTRY_VERIFY(probe().shows(store().transfers()[0].clipName + u", Ready, Verified"_s));
        QCOMPARE(view().downloadObstacle(), u"All recordings of this take are on this computer."_s);
    }

    void keepsItsPlaceWhileOtherTakesCome()
    {
        pair(u"cam-a"_s);
        VORNProject project = *store().selectedProject();
        project.takes.clear();
        for (int i = 0; i < 2000; ++i) {
            VORNTake take; // stands behind those of the phone
            take.id = u"zz-%1"_s.arg(i, 4, 10, QLatin1Char('0'));
            project.takes.push_back(take);
        }
        m_probe.emplace(std::vector{project});
        m_phones.must(u"cam-a server on"_s);
        view().takes()->select(1000);
        const QString row = u"zz-0998, 0 cameras  \u2022  30 fps"_s;
        QTRY_VERIFY(probe().shows(row));
        const auto place = [&] { return probe().named(row)->mapToScene(QPointF()); };
        const QPointF before = place();
        pair(u"cam-a"_s);
        QTRY_COMPARE(probe().view().takes()->countText(), u"2001 takes"_s);
        probe().window()->grabWindow(); // what has changed is placed
        QCOMPARE(place(), before);
        QCOMPARE(store().selectedTakeID(), u"zz-1000"_s);
    }

private:
    [[nodiscard]] WindowProbe &probe() { return *m_probe; }
    [[nodiscard]] LibraryViewModel &view() { return m_probe->view(); }
    [[nodiscard]] AppStore &store() { return m_probe->store(); }
    [[nodiscard]] QString notice() { return view().downloadOutlook()->text(); }

    void pair(const QString &camera)
    {
        m_phones.must(camera + u" code"_s);
        const QString code = m_phones.transfer(camera)[u"code"_s].toString();
        const std::size_t before = store().activities().size();
        store().pairAndConnect(m_phones.shared(camera), code, true);
        QTRY_VERIFY_WITH_TIMEOUT(store().activities().size() > before, limitMs);
        QVERIFY2(!store().errorMessage(), qPrintable(store().errorMessage().value_or(QString())));
    }

    RigPhones m_phones{
        {.count = 2, .clips = 1, .more = {u"--clip-bytes"_s, QString::number(clipBytes)}}};
    std::optional<WindowProbe> m_probe;
};

QTEST_MAIN(DownloadWindowTest)
#include "download_window_test.moc"
