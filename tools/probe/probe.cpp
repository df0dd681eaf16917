// SPDX-License-Identifier: Apache-2.0

#include "probe/probe.h"

#include "base/display_text.h"
#include "base/files.h"
#include "library/safe_identifier.h"
#include "live/frame_orientation.h"

#include <QDir>
#include <QTextStream>
#include <QTransform>
#include <QUuid>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <set>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr std::chrono::milliseconds turnPeriod{5};

void print(const QString &text)
{
    QTextStream(stdout) << text << Qt::flush;
}

/// The picture as it is displayed.
QImage upright(const QImage &image, const LiveCamera *camera)
{
    if (!camera)
        return image;
    const auto rotation = CameraFrameOrientation::effectiveRotation(
        image.width(), image.height(), camera->aspect, camera->previewRotation);
    return image.transformed(QTransform().rotate(double(rotation)), Qt::SmoothTransformation);
}

/// What the process used since it began.
QString resourcesText(qint64 elapsedMs)
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return double(time.tv_sec) + double(time.tv_usec) / 1e6;
    };
    const double share =
        (seconds(usage.ru_utime) + seconds(usage.ru_stime)) / (double(elapsedMs) / 1000);
    const auto open =
        QDir(u"/proc/self/fd"_s).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    const auto threads = QDir(u"/proc/self/task"_s).entryList(QDir::NoDotAndDotDot | QDir::Dirs);
    return u"%1 % of a core, %2 MiB at most, %3 threads, %4 descriptors\n"_s
        .arg(100 * share, 0, 'f', 1)
        .arg(usage.ru_maxrss / 1024)
        .arg(threads.size())
        .arg(open.size());
}

const LiveCamera *cameraOf(const std::vector<LiveCamera> &cameras, const QString &id)
{
    const auto found = std::ranges::find(cameras, id, &LiveCamera::id);
    return found == cameras.end() ? nullptr : &*found;
}

} // namespace

Probe::Probe(ProbeOptions options) : m_options(std::move(options))
{
    m_clock.start();
    connect(&m_discovery, &LiveCameraDiscovery::camerasChanged, this, &Probe::followCameras);
    connect(&m_discovery, &LiveCameraDiscovery::livenessTickChanged, this, [this] {
        followCameras();
        printCameras();
    });
    connect(&m_discovery, &LiveCameraDiscovery::errorMessageChanged, this, [this] {
        if (m_discovery.errorMessage())
            print(*m_discovery.errorMessage() + u'\n');
    });
    connect(&m_discovery, &LiveCameraDiscovery::transferModeRequestChanged, this,
            &Probe::printRequest);
    connect(&m_store, &LivePreviewStore::frameChanged, this, &Probe::measure);
    m_turns.setTimerType(Qt::PreciseTimer);
    m_turns.callOnTimeout(this, &Probe::timeTurn);
    if (m_options.timesTurns) {
        m_lastTurn = MonotonicClock::now();
        m_turns.start(turnPeriod);
    }
    m_store.start(m_discovery.cameras());
}

void Probe::followCameras()
{
    const std::vector<LiveCamera> &cameras = m_discovery.cameras();
    m_store.update(cameras);
    std::set<QString> selected(m_options.selected.begin(), m_options.selected.end());
    if (m_options.selectsAll)
        std::ranges::transform(cameras, std::inserter(selected, selected.end()), &LiveCamera::id);
    m_store.select(selected);

    const LiveCamera *asked = cameraOf(cameras, m_options.asked);
    if (asked && !std::exchange(m_hasAsked, true))
        m_discovery.requestTransferMode(*asked, QUuid::createUuid().toString(QUuid::WithoutBraces),
                                        u"vorn-probe"_s);
}

void Probe::printCameras()
{
    const QString table = camerasText(m_discovery.cameras(), std::chrono::system_clock::now());
    if (std::exchange(m_printed, table) != table)
        print(u"\n%1 s%2\n%3"_s.arg(double(m_clock.elapsed()) / 1000, 0, 'f', 1)
                  .arg(m_discovery.isActiveScanning() ? u", scanning"_s : QString(), table));
}

void Probe::printRequest()
{
    if (const auto &request = m_discovery.transferModeRequest())
        print(u"\nTransfer Mode: %1\n"_s.arg(displayText(request->message)));
}

void Probe::timeTurn()
{
    const auto now = MonotonicClock::now();
    // A long wait stands for all the turns that it took the place of.
    for (auto late = now - m_lastTurn - turnPeriod; late > -turnPeriod; late -= turnPeriod)
        m_lateTurns.add(late);
    m_lastTurn = now;
}

void Probe::measure(const QString &cameraID, VORNPreviewProfile profile)
{
    const auto &frames =
        profile == VORNPreviewProfile::wall ? m_store.wallFrames() : m_store.selectedFrames();
    const auto frame = frames.find(cameraID);
    if (frame != frames.end())
        m_measurements[{cameraID, profile}].add(frame->second.comment, MonotonicClock::now());
}

bool Probe::finish()
{
    print(u'\n' + streamsText(m_measurements, m_store.statistics())
          + resourcesText(m_clock.elapsed()));
    print(u"%1 servers of files\n"_s.arg(m_servers.devices().size()));
    if (m_options.timesTurns)
        print(turnsText(m_lateTurns));
    for (const auto &[id, error] : m_store.errors())
        print(u"%1: %2\n"_s.arg(displayText(id), error));
    if (m_options.folder.isEmpty())
        return true;

    createFolders(m_options.folder, FolderMode::followUmask);
    bool isKept = true;
    const auto keep = [&](const std::map<QString, PreviewFrame> &frames, const QString &profile) {
        for (const auto &[id, frame] : frames) {
            const QString path =
                m_options.folder + u'/' + safeIdentifier(id) + u'-' + profile + u".png"_s;
            isKept &= upright(frame.image, cameraOf(m_discovery.cameras(), id)).save(path);
            print(path + u'\n');
        }
    };
    keep(m_store.wallFrames(), u"wall"_s);
    keep(m_store.selectedFrames(), u"selected"_s);
    return isKept;
}

} // namespace vorn
