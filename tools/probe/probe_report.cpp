// SPDX-License-Identifier: Apache-2.0

#include "probe/probe_report.h"

#include "base/display_text.h"

#include <QList>
#include <QStringList>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr qsizetype nameColumn = 24;

QString cell(const QString &text, qsizetype width)
{
    return displayText(text, width).leftJustified(width);
}

QString milliseconds(std::optional<std::chrono::nanoseconds> time)
{
    if (!time)
        return u"-"_s;
    return QString::number(std::chrono::duration<double, std::milli>(*time).count(), 'f', 1);
}

QString stateText(const LiveCamera &camera, WallTime now)
{
    if (!camera.isOnline(now))
        return u"offline"_s;
    return camera.recording ? u"REC"_s : u"online"_s;
}

} // namespace

void Delays::add(std::chrono::nanoseconds delay)
{
    const auto place = std::size_t(std::max(delay, std::chrono::nanoseconds{0}) / step);
    ++m_counts[std::min(place, m_counts.size() - 1)];
    ++m_count;
}

std::optional<std::chrono::nanoseconds> Delays::atMost(double share) const
{
    if (m_count == 0)
        return std::nullopt;
    auto left = std::uint64_t(std::ceil(share * double(m_count)));
    const auto place = std::ranges::find_if(m_counts, [&left](std::uint32_t count) {
        left -= std::min(left, std::uint64_t{count});
        return left == 0;
    });
    return step * (place - m_counts.begin() + 1);
}

void StreamMeasurement::add(const QByteArray &comment, MonotonicClock::time_point now)
{
    if (pictures++ == 0)
        firstAt = now;
    lastAt = now;
    if (const auto sent = sentAt(comment))
        latencies.add(now - *sent);
}

double StreamMeasurement::picturesPerSecond() const
{
    if (pictures < 2)
        return 0;
    return double(pictures - 1) / std::chrono::duration<double>(lastAt - firstAt).count();
}

std::optional<MonotonicClock::time_point> sentAt(const QByteArray &comment)
{
    const QList<QByteArray> words = comment.split(' ');
    if (words.size() != 3 || words[0] != "vorn-rig")
        return std::nullopt;
    bool isNumber = false;
    const qint64 nanoseconds = words[2].toLongLong(&isNumber);
    if (!isNumber)
        return std::nullopt;
    return MonotonicClock::time_point(std::chrono::nanoseconds(nanoseconds));
}

QString camerasText(const std::vector<LiveCamera> &cameras, WallTime now)
{
    if (cameras.empty())
        return u"no cameras\n"_s;
    QString text;
    for (const LiveCamera &camera : cameras) {
        const QString battery = camera.battery ? u"%1%"_s.arg(*camera.battery) : u"-"_s;
        text += cell(camera.name, nameColumn) + u' ' + cell(camera.id, 12) + u' '
                + cell(camera.host, 15) + u' ' + cell(camera.role, 8) + u' '
                + cell(stateText(camera, now), 7) + u' ' + cell(battery, 5) + u' '
                + cell(camera.aspect, 7) + u' ' + displayText(camera.quality, nameColumn) + u'\n';
    }
    return text;
}

QString streamsText(const std::map<StreamKey, StreamMeasurement> &measurements,
                    const std::map<StreamKey, StreamStatistics> &statistics)
{
    QString text = u"%1 %2 %3 %4 %5 %6 %7 %8 %9\n"_s.arg(u"stream"_s, -21)
                       .arg(u"shown"_s, 7)
                       .arg(u"a second"_s, 8)
                       .arg(u"received"_s, 8)
                       .arg(u"dropped"_s, 7)
                       .arg(u"gap ms"_s, 8)
                       .arg(u"p50 ms"_s, 7)
                       .arg(u"p99 ms"_s, 7)
                       .arg(u"max ms"_s, 7);
    for (const auto &[key, measured] : measurements) {
        const auto found = statistics.find(key);
        const StreamStatistics counted =
            found == statistics.end() ? StreamStatistics{} : found->second;
        const QString profile = key.profile == VORNPreviewProfile::wall ? u"wall"_s : u"selected"_s;
        text +=
            u"%1 %2 %3 %4 %5 %6 %7 %8 %9\n"_s.arg(cell(key.cameraID, 12) + u' ' + cell(profile, 8))
                .arg(measured.pictures, 7)
                .arg(measured.picturesPerSecond(), 8, 'f', 1)
                .arg(counted.received, 8)
                .arg(counted.replaced, 7)
                .arg(milliseconds(counted.maximumGap), 8)
                .arg(milliseconds(measured.latencies.atMost(0.5)), 7)
                .arg(milliseconds(measured.latencies.atMost(0.99)), 7)
                .arg(milliseconds(measured.latencies.atMost(1)), 7);
    }
    return text;
}

QString turnsText(const Delays &turns)
{
    return u"event loop late by %1 ms p50, %2 ms p99, %3 ms at most\n"_s.arg(
        milliseconds(turns.atMost(0.5)), milliseconds(turns.atMost(0.99)),
        milliseconds(turns.atMost(1)));
}

} // namespace vorn
