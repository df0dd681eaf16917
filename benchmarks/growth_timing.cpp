// SPDX-License-Identifier: Apache-2.0

// Usage: growth_timing FOLDER
// How the work grows with what there is of it: takes of a library, cameras, clips of a catalog,
// decisions of a session. A row for each has the times of the most and of the fewest, and the
// exponent of a power law through all of them; the aim is that of n log n. Times are the
// processor's, so that what else the machine does tells little.

#include "director/session_journal.h"
#include "drift/director_cut_document.h"
#include "large_samples.h"
#include "library/catalog_merge.h"
#include "library/record_json.h"
#include "live/camera_list.h"
#include "live/live_packet.h"
#include "live/peer_snapshot_orders.h"
#include "paired.h"
#include "store/library_file.h"
#include "transfer/catalog_gate.h"

#include <QJsonDocument>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>
#include <span>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int rounds = 7;
constexpr double leastSeconds = 0.005; ///< of a round; what takes less is done many times

/// What is measured with `count` of something. `work` gets a number that differs each time.
struct Size {
    int count;
    std::function<void(int)> work;
};

/// Of all threads.
double processorSecondsOf(const std::function<void()> &work)
{
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    };
    const double start = now();
    work();
    return now() - start;
}

/// The exponent of the power law through the points, by least squares of the logarithms.
double exponentOf(const std::map<int, double> &seconds)
{
    double n = 0, x = 0, y = 0, xx = 0, xy = 0;
    for (const auto &[count, time] : seconds) {
        const double logCount = std::log(count);
        const double logTime = std::log(time);
        n += 1;
        x += logCount;
        y += logTime;
        xx += logCount * logCount;
        xy += logCount * logTime;
    }
    return (n * xy - x * y) / (n * xx - x * x);
}

void printGrowth(const QString &name, const std::vector<Size> &sizes)
{
    std::map<int, std::vector<double>> times;
    int turn = 0;
    for (int round = 0; round <= rounds; ++round) {
        for (const auto &[count, work] : sizes) {
            work(++turn); // clears up after the size before
            int repeated = 0;
            double seconds = 0;
            for (; seconds < leastSeconds; ++repeated)
                seconds += processorSecondsOf([&] { work(++turn); });
            if (round > 0) // the first does not count
                times[count].push_back(seconds / repeated);
        }
    }
    std::map<int, double> medians;
    QStringList counts;
    for (const auto &[count, all] : times) {
        medians[count] = median(all);
        counts << QString::number(count);
    }
    const auto [fewest, least] = *medians.begin();
    const auto [most, greatest] = *medians.rbegin();
    const auto nLogN = [](double n) { return n * std::log(n); };
    const double bound = std::log(nLogN(most) / nLogN(fewest)) / std::log(double(most) / fewest);
    printRow(name + u", "_s + counts.join(u'/'), u"%1 ms"_s.arg(greatest * 1000, 0, 'f', 2),
             u"%1 ms"_s.arg(least * 1000, 0, 'f', 3), u"n^%1"_s.arg(exponentOf(medians), 0, 'f', 2),
             u"<= n^%1"_s.arg(bound, 0, 'f', 2));
}

void measureLibraries(const QString &folder)
{
    std::vector<Size> loads;
    std::vector<Size> saves;
    for (const int takes : {200, 2'000, 20'000}) {
        const QString place = u"%1/%2"_s.arg(folder).arg(takes);
        const auto library = std::make_shared<VORNLibrary>(libraryOf(20, takes / 20));
        const auto file = std::make_shared<LibraryFile>(place);
        file->save(*library);
        loads.push_back({takes, [place](int) { (void)LibraryFile(place).load(); }});
        saves.push_back({takes, [library, file](int turn) {
                             library->projects[3].takes[7].referenceCameraId =
                                 u"camera-%1"_s.arg(turn % 4);
                             file->save(*library);
                         }});
    }
    printGrowth(u"load of a library, takes"_s, loads);
    printGrowth(u"save after a change, takes"_s, saves);
}

/// A status of each of so many cameras, with SEQ for its number.
std::vector<QByteArray> statusesOf(int count)
{
    std::vector<QByteArray> statuses;
    for (int i = 0; i < count; ++i) {
        const QString id = u"camera-%1"_s.arg(i * 7919 % count);
        statuses.push_back(
            (uR"({"v":1,"type":"status","sender":"%1","sessionId":"s","seq":SEQ,)"_s
             + uR"("payload":{"id":"%1","name":"%1","battery":87,"freeGb":118.5,"leftDb":-18.2}})"_s)
                .arg(id)
                .toUtf8());
    }
    return statuses;
}

/// What is done for a datagram, from its bytes to the list.
void measureCameras()
{
    std::vector<Size> sizes;
    for (const int count : {4, 40, 256}) {
        const auto list = std::make_shared<CameraList>();
        const auto orders = std::make_shared<PeerSnapshotOrders>();
        sizes.push_back({count, [statuses = statusesOf(count), list, orders](int turn) {
                             for (QByteArray status : statuses) {
                                 status.replace("SEQ", QByteArray::number(turn));
                                 const auto packet = decodePacket(std::as_bytes(std::span(status)));
                                 (void)orders->acceptDatagram(*packet, MonotonicClock::now());
                                 (void)list->apply(CameraSnapshot(*packet, u"10.0.0.2"_s),
                                                   std::chrono::system_clock::now());
                             }
                         }});
    }
    printGrowth(u"a status of each, read to listed, cameras"_s, sizes);
}

void measureCatalogs()
{
    std::vector<Size> sizes;
    for (const int clips : {100, 1'000, 10'000, 100'000}) {
        const QByteArray text = lineFromRecord(catalogOf(clips));
        const VORNLibrary known = mergeCatalog(catalogOf(clips), sampleCatalogURL, {});
        sizes.push_back({clips, [text, known](int) {
                             const auto catalog = recordFromJson<DeviceCatalog>(text, u"c"_s);
                             TransferProtocol::validateAuthenticatedCatalog(catalog,
                                                                            sampleCatalogURL);
                             (void)mergeCatalog(catalog, sampleCatalogURL, known);
                         }});
    }
    printGrowth(u"catalog read, passed, merged, clips"_s, sizes);
}

/// A decision a second, of four cameras.
std::vector<CutDecision> decisionsOf(int count)
{
    std::vector<CutDecision> list;
    for (int i = 0; i < count; ++i) {
        CutDecision decision;
        decision.kind = CutDecision::Kind(i % 3);
        decision.sessionSeconds = i;
        decision.cameraId = u"Camera %1"_s.arg(i % 4);
        decision.fadeSeconds = 0.5;
        for (int camera = 0; camera < 4; ++camera)
            decision.then.push_back({u"Camera %1"_s.arg(camera), i + 0.01 * camera, 0.03});
        list.push_back(decision);
    }
    return list;
}

std::vector<Placement> fourCameras(double seconds)
{
    std::vector<Placement> list(4);
    for (int i = 0; i < 4; ++i) {
        list[std::size_t(i)].item.clip.cameraId = u"Camera %1"_s.arg(i);
        list[std::size_t(i)].item.path = u"/media/Camera %1/take.mov"_s.arg(i);
        list[std::size_t(i)].item.media = {
            .duration = seconds, .width = 3840, .height = 2160, .fps = 30, .hasAudio = true};
        list[std::size_t(i)].start = i / 30.0;
        list[std::size_t(i)].duration = list[std::size_t(i)].sourceEnd = seconds;
    }
    return list;
}

QByteArray journalOf(int decisions)
{
    QByteArray text = journalLine(JournalHead{.sessionID = QUuid::createUuid(),
                                              .startedAt = std::chrono::system_clock::now(),
                                              .plannedTakeID = u"take"_s,
                                              .projectID = u"project"_s,
                                              .projectName = u"Night"_s});
    LiveEditTimeline session;
    session.selectPreview(u"cam-a"_s);
    session.start(std::chrono::system_clock::now());
    for (int i = 0; i < decisions; ++i)
        (void)session.addMarker(u"marker"_s, std::chrono::system_clock::now());
    for (const DirectorEditEvent &event : session.events)
        text += journalLine(JournalEntry{.event = event, .cameras = {}});
    return text;
}

void measureDecisions()
{
    std::vector<Size> cuts;
    std::vector<Size> journals;
    for (const int count : {30, 300, 3'000, 30'000}) {
        cuts.push_back({count, [list = decisionsOf(count), cameras = fourCameras(40'000)](int) {
                            const auto cut = DriftEngine::directorCut(list, cameras, 30);
                            (void)DriftEngine::directorCutDocument(u"Project"_s, u"take-1"_s, 30,
                                                                   cameras, *cut, 0);
                        }});
        journals.push_back({count, [text = journalOf(count)](int) {
                                (void)sessionJournalFromText(text, u"journal"_s);
                            }});
    }
    printGrowth(u"cut laid and written, decisions"_s, cuts);
    printGrowth(u"journal read, decisions"_s, journals);
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    const QTemporaryDir folder(QString::fromLocal8Bit(arguments[1]) + u"/growth-XXXXXX"_s);
    try {
        measureLibraries(folder.path());
        measureCameras();
        measureCatalogs();
        measureDecisions();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
