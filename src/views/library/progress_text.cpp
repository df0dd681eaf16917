// SPDX-License-Identifier: Apache-2.0

#include "views/library/progress_text.h"

#include <array>
#include <cmath>

namespace vorn {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto rateWindow = 5s;
constexpr auto shortestMeasure = 1s; // a shorter stretch says more about caches than about the disk
constexpr double longestEstimate = 100 * 3600.0; // seconds; beyond it the number means nothing
constexpr QStringView unknown = u"\u2013";

} // namespace

QString byteText(double bytes)
{
    constexpr std::array units{u"bytes", u"kB", u"MB", u"GB", u"TB"};
    std::size_t unit = 0;
    for (; bytes >= 999.5 && unit + 1 < units.size(); ++unit)
        bytes /= 1000;
    const int decimals = unit == 0 || bytes >= 99.95 ? 0 : bytes >= 9.995 ? 1 : 2;
    return u"%1 %2"_s.arg(QString::number(bytes, 'f', decimals), QStringView(units.at(unit)));
}

QString clockText(std::chrono::seconds duration)
{
    const auto two = [](auto number) { return u"%1"_s.arg(number, 2, 10, QLatin1Char('0')); };
    const auto hours = duration / 1h;
    const auto minutes = duration / 1min % 60;
    const auto seconds = duration / 1s % 60;
    if (hours > 0)
        return u"%1:%2:%3"_s.arg(QString::number(hours), two(minutes), two(seconds));
    return u"%1:%2"_s.arg(QString::number(minutes), two(seconds));
}

QString rateText(double bytesPerSecond)
{
    return bytesPerSecond > 0 ? byteText(bytesPerSecond) + u"/s"_s : unknown.toString();
}

QString timeLeftText(double remainingBytes, double bytesPerSecond)
{
    const double seconds =
        bytesPerSecond > 0 ? std::ceil(std::max(remainingBytes, 0.0) / bytesPerSecond) : HUGE_VAL;
    if (seconds > longestEstimate)
        return unknown.toString();
    return clockText(std::chrono::seconds(std::int64_t(seconds))) + u" left"_s;
}

void RateMeter::restart(MonotonicClock::time_point now, std::int64_t completedBytes)
{
    m_samples.assign(1, {now, completedBytes});
}

void RateMeter::add(MonotonicClock::time_point now, std::int64_t completedBytes)
{
    m_samples.push_back({now, completedBytes});
    while (m_samples.size() > 2 && now - m_samples[1].time >= rateWindow)
        m_samples.pop_front();
}

double RateMeter::rate() const
{
    if (m_samples.empty())
        return 0;
    const Sample &first = m_samples.front();
    const Sample &last = m_samples.back();
    const std::chrono::duration<double> time = last.time - first.time;
    return time < shortestMeasure ? 0 : double(last.bytes - first.bytes) / time.count();
}

} // namespace vorn
