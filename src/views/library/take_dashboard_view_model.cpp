// SPDX-License-Identifier: Apache-2.0

#include "views/library/take_dashboard_view_model.h"

#include "base/display_text.h"
#include "store/app_store.h"

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

QString tabTitle(LibraryDashboardTab tab)
{
    switch (tab) {
    case LibraryDashboardTab::overview:
        return u"Overview"_s;
    case LibraryDashboardTab::media:
        return u"Media"_s;
    case LibraryDashboardTab::resolve:
        return u"Resolve"_s;
    case LibraryDashboardTab::activity:
        return u"Activity"_s;
    }
    Q_UNREACHABLE();
}

std::vector<ReadinessRow> readinessOf(const VORNProject &project, const VORNTake &take)
{
    const bool hasAnchors =
        std::ranges::any_of(take.clips, [](const VORNClip &clip) { return !clip.anchors.empty(); });
    return {{u"Project identity"_s, !project.id.isEmpty()},
            {u"Camera recordings"_s, !take.clips.empty()},
            {u"Verified downloads"_s, isComplete(take)},
            {u"Reference camera"_s, take.referenceCameraId.has_value()},
            {u"Timing anchors"_s, hasAnchors}};
}

std::vector<DetailRow> detailsOf(const VORNProject &project, const VORNTake &take)
{
    const QString reference =
        take.referenceCameraId ? displayText(*take.referenceCameraId) : u"Not selected"_s;
    const QString manifest = take.sourceManifestPath ? u"Imported"_s : u"Catalog / local library"_s;
    return {{u"Take ID"_s, displayText(take.id)},
            {u"Frame rate"_s, displayText(take.timelineFPS)},
            {u"Reference"_s, reference},
            {u"Captured as"_s, displayText(take.projectNameAtCapture.value_or(project.name))},
            {u"Manifest"_s, manifest}};
}

QString faultText(const VORNClip &clip, const TakeOutcome *outcome)
{
    if (!outcome)
        return {};
    const auto found = std::ranges::find(outcome->checks, clip.id, &RecordingCheck::clipId);
    return found == outcome->checks.end() ? QString()
                                          : displayText(found->sentence, longestMessage);
}

ClipRow clipRow(const VORNClip &clip, const VORNTake &take, const TakeOutcome *outcome)
{
    return {.key = clip.id,
            .cameraId = displayText(clip.cameraId),
            .fileName = displayText(clip.fileName),
            .deviceName = displayText(clip.deviceName.value_or(QString())),
            .placeText = isLocal(clip) ? u"Verified on Mac"_s : u"On device"_s,
            .anchorsText = u"%1 anchors"_s.arg(clip.anchors.size()),
            .faultText = faultText(clip, outcome),
            .isLocal = isLocal(clip),
            .isReference = take.referenceCameraId == clip.cameraId};
}

/// The bytes of the clip that is being downloaded or verified.
std::optional<WorkProgress> runningTransferOf(const AppStore &store)
{
    const auto &progress = store.downloadProgress();
    if (!progress)
        return std::nullopt;
    return WorkProgress{{},
                        progress->verifiedBytes.value_or(progress->clipBytes),
                        progress->clipTotalBytes,
                        progress->stage};
}

} // namespace

TakeDashboardViewModel::TakeDashboardViewModel(AppStore &store)
    : m_store(store),
      m_readiness({{"label", &ReadinessRow::key}, {"ready", &ReadinessRow::ready}}),
      m_details({{"label", &DetailRow::key}, {"value", &DetailRow::value}}),
      m_clips({{"cameraId", &ClipRow::cameraId},
               {"fileName", &ClipRow::fileName},
               {"deviceName", &ClipRow::deviceName},
               {"placeText", &ClipRow::placeText},
               {"anchorsText", &ClipRow::anchorsText},
               {"faultText", &ClipRow::faultText},
               {"isLocal", &ClipRow::isLocal},
               {"isReference", &ClipRow::isReference}}),
      m_transfers({{"clipName", &TransferRow::clipName},
                   {"phase", &TransferRow::phase},
                   {"message", &TransferRow::message},
                   {"progress", &TransferRow::progress},
                   {"isRunning", &TransferRow::isRunning}}),
      m_runningTransfer([&store] { return runningTransferOf(store); }),
      m_check(store),
      m_cut(store),
      m_copies(store)
{
    connect(&store, &AppStore::downloadProgressChanged, &m_runningTransfer,
            &WorkProgressViewModel::startOrStop);
    connect(&store, &AppStore::libraryChanged, this, &TakeDashboardViewModel::refresh);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &TakeDashboardViewModel::refresh);
    connect(&store, &AppStore::selectedTakeIDChanged, this, &TakeDashboardViewModel::refresh);
    connect(&store, &AppStore::takeOutcomeChanged, this, &TakeDashboardViewModel::refresh);
    connect(&store, &AppStore::transfersChanged, this, &TakeDashboardViewModel::refreshTransfers);
    refresh();
    refreshTransfers();
}

QList<QString> TakeDashboardViewModel::tabTitles()
{
    using enum LibraryDashboardTab;
    return {tabTitle(overview), tabTitle(media), tabTitle(resolve), tabTitle(activity)};
}

bool TakeDashboardViewModel::hasTake() const
{
    return m_store.selectedTake() != nullptr;
}

QString TakeDashboardViewModel::projectName() const
{
    const VORNProject *project = m_store.selectedProject();
    return project ? displayText(project->name) : QString();
}

QString TakeDashboardViewModel::takeTitle() const
{
    const VORNTake *take = m_store.selectedTake();
    return take ? u"Take "_s + displayText(take->id) : QString();
}

bool TakeDashboardViewModel::complete() const
{
    const VORNTake *take = m_store.selectedTake();
    return take && isComplete(*take);
}

QString TakeDashboardViewModel::statusText() const
{
    return complete() ? u"READY"_s : u"MEDIA PENDING"_s;
}

QString TakeDashboardViewModel::camerasValue() const
{
    return QString::number(m_clips.rows().size());
}

QString TakeDashboardViewModel::onMacValue() const
{
    const auto local = std::ranges::count_if(m_clips.rows(), &ClipRow::isLocal);
    return u"%1/%2"_s.arg(local).arg(m_clips.rows().size());
}

QString TakeDashboardViewModel::timelineValue() const
{
    const VORNTake *take = m_store.selectedTake();
    return take ? displayText(take->timelineFPS) + u" fps"_s : QString();
}

QString TakeDashboardViewModel::mediaText() const
{
    return complete() ? u"Media is present on this Mac"_s
                      : u"Download all camera media before export"_s;
}

void TakeDashboardViewModel::makeReference(int row)
{
    const ClipRow *chosen = m_clips.at(row);
    const VORNTake *take = m_store.selectedTake();
    const VORNClip *clip = chosen && take ? findById(take->clips, chosen->key) : nullptr;
    // A copy: the store's change may move the clip that the id would come from.
    if (clip)
        m_store.setReferenceCamera(QString(clip->cameraId));
}

void TakeDashboardViewModel::refresh()
{
    const VORNProject *project = m_store.selectedProject();
    const VORNTake *take = m_store.selectedTake();
    std::vector<ClipRow> clips;
    if (project && take) {
        for (const VORNClip &clip : take->clips)
            clips.push_back(clipRow(clip, *take, m_store.selectedTakeOutcome()));
        m_readiness.setRows(readinessOf(*project, *take));
        m_details.setRows(detailsOf(*project, *take));
    }
    m_clips.setRows(std::move(clips));
    Q_EMIT changed();
}

void TakeDashboardViewModel::refreshTransfers()
{
    std::vector<TransferRow> rows;
    for (const TransferStatus &transfer : m_store.transfers())
        rows.push_back({transfer.id, displayText(transfer.clipName),
                        transferPhaseText(transfer.phase),
                        displayText(transfer.message, longestMessage), transfer.progress(),
                        transfer.phase == TransferPhase::downloading
                            || transfer.phase == TransferPhase::verifying});
    m_transfers.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
