// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "base/off_thread.h"
#include "store/app_store.h"
#include "store/progress_report.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {

QCoro::Task<> AppStore::exportSelectedTake(
    QString parentFolder, std::function<std::vector<CutDecision>(const VORNTake &)> readDecisions,
    EditingCopies copies)
{
    m_ui.assertCurrent();
    if (m_longWork || !selectedProject() || !selectedTake())
        co_return;
    // Copies: the library may change while the export runs.
    const VORNProject project = *selectedProject();
    const VORNTake take = *selectedTake();

    const QPointer<AppStore> self(this);
    m_exportStop = {};
    const auto report =
        progressReport<ExportProgress>(m_exportStop.get_token(), [self](const ExportProgress &now) {
            if (self && self->isBusy())
                self->setExportProgress(now);
        });

    setLongWork(LongWork::exporting);
    // Copies take as long as the recordings are.
    const SleepInhibitor awake(u"A take is being exported."_s);
    QString failure;
    try {
        const QString folder =
            co_await offThread([project, take, parentFolder, report, readDecisions, copies] {
                const auto decisions =
                    readDecisions ? readDecisions(take) : std::vector<CutDecision>();
                return DriftEngine::exportPackage(project, take, parentFolder, report, decisions,
                                                  copies);
            });
        if (!self)
            co_return;
        log(u"Created Resolve export %1."_s.arg(fileNameOf(folder)));
        if (fileExists(folder + u'/' + directorCutFileName))
            log(u"The director's cut is in it as %1."_s.arg(directorCutFileName));
        else if (readDecisions)
            log(u"It has no director's cut: no decision has a place on its timeline."_s, true);
        Q_EMIT exportCreated(folder + u'/' + timelineFileName);
    } catch (const StoreEnded &) {
        if (self)
            log(u"The Resolve export was cancelled. Nothing of it is left."_s);
    } catch (const std::exception &error) {
        failure = u"Resolve export failed: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    setExportProgress({});
    setLongWork({});
    if (!failure.isEmpty())
        fail(failure);
}

void AppStore::cancelExport()
{
    m_ui.assertCurrent();
    m_exportStop.request_stop();
}

} // namespace vorn
