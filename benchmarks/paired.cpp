// SPDX-License-Identifier: Apache-2.0

#include "paired.h"

#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QString milliseconds(double seconds)
{
    return u"%1 ms"_s.arg(seconds * 1000, 0, 'f', 1);
}

} // namespace

double median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::ranges::nth_element(values, middle);
    return *middle;
}

double secondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

PairedTimes pairedTimes(int rounds, const std::function<double()> &ours,
                        const std::function<double()> &yardstick)
{
    yardstick();
    ours();
    std::vector<double> oursSeconds;
    std::vector<double> yardstickSeconds;
    for (int round = 0; round < rounds; ++round) {
        yardstickSeconds.push_back(yardstick());
        oursSeconds.push_back(ours());
    }
    return {median(oursSeconds), median(yardstickSeconds)};
}

void printRow(const QString &name, const QString &ours, const QString &yardstick,
              const QString &ratio, const QString &aim)
{
    const QByteArray row = QStringList{name, ours, yardstick, ratio, aim}.join(u'\t').toUtf8();
    std::puts(row.constData());
    std::fflush(stdout);
}

void printRow(const QString &name, const PairedTimes &times, const QString &aim)
{
    printRow(name, milliseconds(times.ours), milliseconds(times.yardstick),
             QString::number(times.ours / times.yardstick, 'f', 2), aim);
}

} // namespace vorn
