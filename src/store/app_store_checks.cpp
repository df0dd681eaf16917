// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "store/app_store.h"
#include "store/checksum_file.h"
#include "store/progress_report.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {

const std::optional<CheckProgress> &AppStore::checkProgress() const
{
    m_ui.assertCurrent();
    return m_checkProgress;
}

const std::optional<TakeOutcome> &AppStore::takeOutcome() const
{
    m_ui.assertCurrent();
    return m_takeOutcome;
}

const TakeOutcome *AppStore::selectedTakeOutcome() const
{
    m_ui.assertCurrent();
    const bool isSelected = m_takeOutcome && m_takeOutcome->projectId == m_selectedProjectID
                            && m_takeOutcome->takeId == m_selectedTakeID;
    return isSelected ? &*m_takeOutcome : nullptr;
}

void AppStore::setCheckProgress(std::optional<CheckProgress> progress)
{
    m_ui.assertCurrent();
    if (progress == m_checkProgress)
        return;
    m_checkProgress = std::move(progress);
    Q_EMIT checkProgressChanged();
}

void AppStore::setTakeOutcome(std::optional<TakeOutcome> outcome)
{
    m_ui.assertCurrent();
    m_takeOutcome = std::move(outcome);
    Q_EMIT takeOutcomeChanged();
}

CheckReport AppStore::checkReport()
{
    return progressReport<CheckProgress>(m_stop.get_token(),
                                         [self = QPointer(this)](const CheckProgress &now) {
                                             if (self && self->isBusy())
                                                 self->setCheckProgress(now);
                                         });
}

QCoro::Task<> AppStore::verifySelectedTake()
{
    m_ui.assertCurrent();
    if (m_longWork || !selectedProject() || !selectedTake())
        co_return;
    // A copy: the library may change meanwhile.
    const VORNTake take = *selectedTake();
    TakeOutcome outcome{selectedProject()->id, take.id, {}, {}};
    const QPointer<AppStore> self(this);
    setTakeOutcome({});
    setLongWork(LongWork::verifying);
    QString failure;
    try {
        outcome.checks = co_await offThread(
            [take, report = checkReport()] { return checkRecordings(take, report); });
    } catch (const std::exception &error) {
        failure = u"Verification failed: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    if (!endCheck(failure))
        co_return;
    outcome.text = summaryOf(take, outcome.checks);
    tellOfChecks(std::move(outcome));
}

bool AppStore::endCheck(const QString &failure)
{
    m_ui.assertCurrent();
    setCheckProgress({});
    setLongWork({});
    if (!failure.isEmpty())
        fail(failure);
    return failure.isEmpty();
}

void AppStore::tellOfChecks(TakeOutcome outcome)
{
    m_ui.assertCurrent();
    using enum RecordingCheck::State;
    for (const RecordingCheck &check : outcome.checks) {
        if (check.state != matches)
            log(check.cameraId + u": "_s + check.sentence, check.state == fault);
    }
    if (hasFault(outcome.checks))
        fail(outcome.text);
    else
        log(outcome.text);
    setTakeOutcome(std::move(outcome));
}

QCoro::Task<> AppStore::saveChecksums(QString projectId, QString takeId, QString path,
                                      ExistingFile existing)
{
    m_ui.assertCurrent();
    const VORNProject *project = findById(m_library.projects, projectId);
    const VORNTake *found = project ? findById(project->takes, takeId) : nullptr;
    if (m_longWork || !found)
        co_return;
    const VORNTake take = *found;
    TakeOutcome outcome{projectId, takeId, {}, {}};
    const QPointer<AppStore> self(this);
    setTakeOutcome({});
    setLongWork(LongWork::savingChecksums);
    QString failure;
    try {
        co_await offThread([take, path, existing, report = checkReport()] {
            writeFileAtomically(path, checksumLines(take, path, report), FileMode::followUmask,
                                existing);
        });
    } catch (const std::exception &error) {
        failure = u"Checksums could not be saved: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    if (!endCheck(failure))
        co_return;
    outcome.text = u"Saved the checksums of take %1 as %2."_s.arg(take.id, path);
    log(outcome.text);
    setTakeOutcome(std::move(outcome));
}

} // namespace vorn
