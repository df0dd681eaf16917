// SPDX-License-Identifier: Apache-2.0

#include "views/library/work_progress_view_model.h"

#include <algorithm>

namespace vorn {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

WorkProgressViewModel::WorkProgressViewModel(Source source) : m_source(std::move(source))
{
    m_refresh.setInterval(250ms);
    connect(&m_refresh, &QTimer::timeout, this, &WorkProgressViewModel::refresh);
    startOrStop();
}

void WorkProgressViewModel::startOrStop()
{
    const auto progress = m_source();
    if (!progress && running()) {
        m_refresh.stop();
        Q_EMIT changed();
    } else if (progress && (!running() || progress->stage != m_stage)) {
        m_stage = progress->stage;
        m_meter.restart(MonotonicClock::now(), progress->completedBytes);
        m_refresh.start();
        refresh();
    }
}

void WorkProgressViewModel::refresh()
{
    const auto progress = m_source();
    if (!progress)
        return;
    m_meter.add(MonotonicClock::now(), progress->completedBytes);
    const auto done = double(progress->completedBytes);
    const auto total = double(progress->totalBytes);
    m_title = progress->title;
    m_fraction = total > 0 ? std::clamp(done / total, 0.0, 1.0) : 0;
    m_bytesText = progress->countsPlaces
                      ? u"%1 of %2 places"_s.arg(progress->completedBytes).arg(progress->totalBytes)
                      : u"%1 / %2"_s.arg(byteText(done), byteText(total));
    m_rateText = progress->countsPlaces ? QString() : vorn::rateText(m_meter.rate());
    m_timeLeftText = vorn::timeLeftText(total - done, m_meter.rate());
    Q_EMIT changed();
}

} // namespace vorn
