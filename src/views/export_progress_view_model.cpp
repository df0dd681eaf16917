#include "views/export_progress_view_model.h"

#include "store/app_store.h"
#include "views/display_text.h"

#include <array>
#include <cmath>

namespace vorn {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto refreshInterval = 250ms;
constexpr auto rateWindow = 5s;
constexpr auto shortestMeasure = 1s; // a shorter stretch says more about caches than about the disk

} // namespace

QString byteText(double bytes)
{
    constexpr std::array units{"bytes", "kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    for (; bytes >= 999.5 && unit + 1 < units.size(); ++unit)
        bytes /= 1000;
    const int decimals = unit == 0 || bytes >= 99.95 ? 0 : bytes >= 9.995 ? 1 : 2;
    return u"%1 %2"_s.arg(QString::number(bytes, 'f', decimals), QLatin1StringView(units.at(unit)));
}

QString clockText(std::chrono::seconds duration)
{
    const auto hours = duration / 1h;
    const auto minutes = duration / 1min % 60;
    const auto seconds = duration / 1s % 60;
    const auto two = [](auto number) { return u"%1"_s.arg(number, 2, 10, QLatin1Char('0')); };
    if (hours > 0)
        return u"%1:%2:%3"_s.arg(QString::number(hours), two(minutes), two(seconds));
    return u"%1:%2"_s.arg(QString::number(minutes), two(seconds));
}

ExportProgressViewModel::ExportProgressViewModel(AppStore &store, Clock clock)
    : m_store(store), m_clock(std::move(clock))
{
    m_refresh.setInterval(refreshInterval);
    connect(&m_refresh, &QTimer::timeout, this, &ExportProgressViewModel::publish);
    connect(&store, &AppStore::exportProgressChanged, this, &ExportProgressViewModel::update);
    update();
}

void ExportProgressViewModel::update()
{
    const auto &progress = m_store.exportProgress();
    const bool starts = progress && !m_running;
    const bool ends = !progress && m_running;
    m_running = progress.has_value();
    if (ends) {
        m_refresh.stop();
        m_samples.clear();
        Q_EMIT changed();
    } else if (starts) {
        m_samples.assign(1, {m_clock(), progress->completedBytes});
        m_refresh.start();
        publish();
    }
}

void ExportProgressViewModel::publish()
{
    const auto &progress = m_store.exportProgress();
    if (!progress)
        return;
    const auto now = m_clock();
    m_samples.push_back({now, progress->completedBytes});
    while (m_samples.size() > 2 && now - m_samples[1].time >= rateWindow)
        m_samples.pop_front();

    m_title = u"Verifying %1  \u2022  %2 of %3"_s.arg(displayText(progress->cameraId, 64),
                                                 QString::number(progress->clipIndex + 1),
                                                 QString::number(progress->clipCount));
    const auto done = double(progress->completedBytes);
    const auto total = double(progress->totalBytes);
    m_fraction = total > 0 ? std::clamp(done / total, 0.0, 1.0) : 0;
    m_bytesText = u"%1 / %2"_s.arg(byteText(done), byteText(total));
    const double rate = bytesPerSecond();
    m_rateText = rate > 0 ? byteText(rate) + u"/s"_s : u"\u2013"_s;
    const double secondsLeft = rate > 0 ? std::ceil((total - done) / rate) : HUGE_VAL;
    m_timeLeftText = secondsLeft < 360'000 // 100 hours: no estimate any more
        ? clockText(std::chrono::seconds(std::int64_t(std::max(secondsLeft, 0.0)))) + u" left"_s
        : u"\u2013"_s;
    Q_EMIT changed();
}

double ExportProgressViewModel::bytesPerSecond() const
{
    const Sample &first = m_samples.front();
    const Sample &last = m_samples.back();
    const std::chrono::duration<double> time = last.time - first.time;
    return time < shortestMeasure ? 0 : double(last.bytes - first.bytes) / time.count();
}

} // namespace vorn
