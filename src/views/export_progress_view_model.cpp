#include "views/export_progress_view_model.h"

#include "platform/display_text.h"
#include "store/app_store.h"

namespace vorn {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

ExportProgressViewModel::ExportProgressViewModel(AppStore &store) : m_store(store)
{
    m_refresh.setInterval(250ms);
    connect(&m_refresh, &QTimer::timeout, this, &ExportProgressViewModel::refresh);
    connect(&store, &AppStore::exportProgressChanged, this, &ExportProgressViewModel::startOrStop);
    startOrStop();
}

void ExportProgressViewModel::startOrStop()
{
    const auto &progress = m_store.exportProgress();
    if (progress.has_value() == running())
        return;
    if (progress) {
        m_meter.restart(MonotonicClock::now(), progress->completedBytes);
        m_refresh.start();
        refresh();
    } else {
        m_refresh.stop();
        Q_EMIT changed();
    }
}

void ExportProgressViewModel::refresh()
{
    const auto &progress = m_store.exportProgress();
    if (!progress)
        return;
    m_meter.add(MonotonicClock::now(), progress->completedBytes);
    const auto done = double(progress->completedBytes);
    const auto total = double(progress->totalBytes);
    m_title = u"Verifying %1  \u2022  %2 of %3"_s.arg(displayText(progress->cameraId),
                                                      QString::number(progress->clipIndex + 1),
                                                      QString::number(progress->clipCount));
    m_fraction = total > 0 ? std::clamp(done / total, 0.0, 1.0) : 0;
    m_bytesText = u"%1 / %2"_s.arg(byteText(done), byteText(total));
    m_rateText = vorn::rateText(m_meter.rate());
    m_timeLeftText = vorn::timeLeftText(total - done, m_meter.rate());
    Q_EMIT changed();
}

} // namespace vorn
