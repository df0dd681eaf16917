// SPDX-License-Identifier: Apache-2.0

#include "views/library/editing_copies_view_model.h"

#include "base/display_text.h"
#include "base/off_thread.h"
#include "drift/editing_copy.h"
#include "store/app_store.h"
#include "views/library/progress_text.h"

#include <QPointer>

#include <cmath>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

/// As rough as it is known.
QString roughTime(double seconds)
{
    if (seconds < 90)
        return u"%1 seconds"_s.arg(std::max(std::lround(seconds), 1L));
    if (seconds < 90 * 60.0)
        return u"%1 minutes"_s.arg(std::lround(seconds / 60));
    return u"%1 hours"_s.arg(QString::number(seconds / 3600, 'f', 1));
}

} // namespace

EditingCopiesViewModel::EditingCopiesViewModel(AppStore &store) : m_store(store)
{
    connect(&store, &AppStore::libraryChanged, this, &EditingCopiesViewModel::restart);
    connect(&store, &AppStore::selectedTakeIDChanged, this,
            &EditingCopiesViewModel::followSelection);
    connect(&store, &AppStore::selectedProjectIDChanged, this,
            &EditingCopiesViewModel::followSelection);
    refresh();
}

EditingCopiesViewModel::~EditingCopiesViewModel()
{
    m_measuring.request_stop();
}

QString EditingCopiesViewModel::summary() const
{
    if (!isWanted())
        return isAvailable() ? u"The export will have no copies."_s : QString();
    if (m_forecast)
        return u"The copies take about %1, and to make them about %2 on this computer."_s.arg(
            byteText(double(m_forecast->bytes)), roughTime(m_forecast->seconds));
    return m_obstacle.isEmpty() ? u"Measuring what the copies take\u2026"_s : QString();
}

QString EditingCopiesViewModel::problem() const
{
    if (!isAvailable())
        return m_missing;
    return isWanted() ? displayText(m_obstacle, longestMessage) : QString();
}

void EditingCopiesViewModel::setWanted(bool wanted)
{
    m_isWanted = wanted;
    restart();
}

void EditingCopiesViewModel::refresh()
{
    const QString before = m_missing;
    try {
        (void)EditingCopy::maker();
        m_missing.clear();
    } catch (const std::exception &error) {
        m_missing = QString::fromUtf8(error.what());
    }
    if (m_missing != before)
        restart();
}

void EditingCopiesViewModel::followSelection()
{
    m_isWanted = false;
    restart();
}

void EditingCopiesViewModel::restart()
{
    m_measuring.request_stop();
    m_measuring = {};
    m_forecast.reset();
    m_obstacle.clear();
    Q_EMIT changed();
    if (isWanted() && m_store.selectedTake())
        measure();
}

QCoro::Task<> EditingCopiesViewModel::measure()
{
    const QPointer<EditingCopiesViewModel> self(this);
    const std::stop_token stop = m_measuring.get_token();
    std::optional<EditingCopyForecast> forecast;
    QString obstacle;
    try {
        forecast = co_await offThread(
            [take = *m_store.selectedTake(), stop] { return EditingCopy::forecast(take, stop); });
    } catch (const std::exception &error) {
        obstacle = QString::fromUtf8(error.what());
    }
    if (!self || stop.stop_requested())
        co_return;
    m_forecast = forecast;
    m_obstacle = obstacle;
    Q_EMIT changed();
}

} // namespace vorn
