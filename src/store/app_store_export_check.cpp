// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "drift/export_check_text.h"
#include "store/app_store.h"
#include "store/export_listening.h"
#include "store/progress_report.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {

const ExportCheck *AppStore::selectedExportCheck() const
{
    m_ui.assertCurrent();
    const VORNProject *project = selectedProject();
    const VORNTake *take = selectedTake();
    const bool isAsChecked =
        m_exportCheck && project && take && m_exportCheck->projectId == project->id
        && m_exportCheck->projectName == project->name && m_exportCheck->take == *take;
    return isAsChecked ? &m_exportCheck->check : nullptr;
}

void AppStore::setExportCheck(std::optional<ExportCheckOutcome> outcome)
{
    m_ui.assertCurrent();
    m_exportCheck = std::move(outcome);
    Q_EMIT exportCheckChanged();
}

QCoro::Task<> AppStore::checkSelectedTake()
{
    m_ui.assertCurrent();
    if (m_longWork || !selectedProject() || !selectedTake())
        co_return;
    // Copies: the library may change meanwhile, and then the check is of no use.
    const VORNProject project = *selectedProject();
    ExportCheckOutcome outcome{project.id, project.name, *selectedTake(), {}};
    const QPointer<AppStore> self(this);
    m_exportStop = std::stop_source();
    const auto report =
        progressReport<ExportProgress>(m_exportStop.get_token(), [self](const ExportProgress &now) {
            if (self && self->isBusy())
                self->setExportProgress(now);
        });
    setExportCheck({});
    setLongWork(LongWork::checkingExport);
    QString failure;
    try {
        outcome.check = co_await offThread(
            [project, take = outcome.take, report, stop = m_exportStop.get_token()] {
                ExportCheck check = DriftEngine::checkExport(project, take, report);
                listenToExport(check, stop, report);
                throwIfEnded(stop);
                return check;
            });
    } catch (const StoreEnded &) {
        failure = u"The check of the export was cancelled."_s;
    } catch (const std::exception &error) {
        failure = u"The check of the export failed: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    setExportProgress({});
    setLongWork({});
    if (!failure.isEmpty()) {
        log(failure, true);
        co_return;
    }
    log(u"Checked the export of take %1: %2"_s.arg(outcome.take.id, summaryOf(outcome.check)),
        !outcome.check.findings.empty());
    setExportCheck(std::move(outcome));
}

} // namespace vorn
