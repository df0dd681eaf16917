// SPDX-License-Identifier: Apache-2.0

#include "views/library/take_check_view_model.h"

#include "base/display_text.h"
#include "base/files.h"
#include "library/safe_identifier.h"
#include "store/app_store.h"
#include "views/library/file_panels.h"

#include <QPointer>

#include <algorithm>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

std::optional<WorkProgress> checkWork(const AppStore &store)
{
    const auto &progress = store.checkProgress();
    if (!progress)
        return std::nullopt;
    const QString work =
        store.longWork() == LongWork::savingChecksums ? u"Reading"_s : u"Verifying"_s;
    const QString title = u"%1 %2, %3  \u2022  %4 of %5"_s.arg(
        work, displayText(progress->takeId), displayText(progress->cameraId),
        QString::number(progress->clipIndex + 1), QString::number(progress->clipCount));
    return WorkProgress{title, progress->completedBytes, progress->totalBytes};
}

/// The innermost folder that holds all of the recordings: there they need no absolute names.
QString commonFolder(const QList<VORNClip> &clips)
{
    QString folder = folderOf(localPathOf(clips.front()));
    for (const VORNClip &clip : clips) {
        while (folder != u'/' && !localPathOf(clip).startsWith(folder + u'/'))
            folder = folderOf(folder);
    }
    return folder;
}

} // namespace

TakeCheckViewModel::TakeCheckViewModel(AppStore &store)
    : m_store(store), m_progress([&store] { return checkWork(store); })
{
    connect(&store, &AppStore::checkProgressChanged, &m_progress,
            &WorkProgressViewModel::startOrStop);
    for (const auto signal : {&AppStore::libraryChanged, &AppStore::selectedProjectIDChanged,
                              &AppStore::selectedTakeIDChanged, &AppStore::isBusyChanged,
                              &AppStore::takeOutcomeChanged})
        connect(&store, signal, this, &TakeCheckViewModel::changed);
}

QString TakeCheckViewModel::obstacle() const
{
    const VORNTake *take = m_store.selectedTake();
    if (!take)
        return u"No take is selected."_s;
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    if (std::ranges::none_of(take->clips, isLocal))
        return u"No recording of this take is on this computer."_s;
    return {};
}

QString TakeCheckViewModel::outcome() const
{
    const TakeOutcome *outcome = m_store.selectedTakeOutcome();
    return outcome ? displayText(outcome->text, longestMessage) : QString();
}

bool TakeCheckViewModel::isGood() const
{
    const TakeOutcome *outcome = m_store.selectedTakeOutcome();
    return outcome && std::ranges::all_of(outcome->checks, [](const RecordingCheck &check) {
               return check.state == RecordingCheck::State::matches;
           });
}

void TakeCheckViewModel::verify()
{
    if (isAvailable())
        m_store.verifySelectedTake();
}

void TakeCheckViewModel::saveChecksums(QWindow *window)
{
    if (!isAvailable())
        return;
    const QString projectId = m_store.selectedProject()->id;
    const VORNTake &take = *m_store.selectedTake();
    const QString name = safeIdentifier(take.id);
    const QString place = commonFolder(localClips(take)) + u'/'
                          + (name.isEmpty() ? u"checksums"_s : name) + u".sha256"_s;
    openChecksumPanel(window, place,
                      [self = QPointer(this), projectId, takeId = take.id](const QString &path) {
                          if (!self)
                              return;
                          // The panel has asked about a file that is there, and about no other.
                          self->m_store.saveChecksums(
                              projectId, takeId, path,
                              somethingExistsAt(path) ? ExistingFile::replace : ExistingFile::keep);
                      });
}

} // namespace vorn
