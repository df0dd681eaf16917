// SPDX-License-Identifier: Apache-2.0

#include "live/reach_check.h"

#include <algorithm>

namespace vorn {

void ReachCheck::follow(std::vector<QString> hosts)
{
    if (hosts.size() > maximumHosts)
        hosts.resize(maximumHosts);
    std::erase_if(m_hosts, [&](const auto &entry) {
        return std::ranges::find(hosts, entry.first) == hosts.end();
    });
    const auto now = MonotonicClock::now();
    for (const QString &host : hosts) {
        const auto [tried, isNew] = m_hosts.try_emplace(host);
        if (isNew || (!tried->second.isUnderWay && now - tried->second.begun >= pause))
            ask(host, now);
    }
}

std::map<QString, Reach> ReachCheck::results() const
{
    std::map<QString, Reach> results;
    for (const auto &[host, tried] : m_hosts)
        results.emplace(host, tried.reach);
    return results;
}

void ReachCheck::ask(const QString &host, MonotonicClock::time_point now)
{
    Tried &tried = m_hosts.at(host);
    tried.begun = now;
    tried.isUnderWay = true;
    auto *probe = new CameraProbe(host, this);
    connect(probe, &CameraProbe::finished, this, [this, probe, host] {
        probe->deleteLater();
        const auto found = m_hosts.find(host);
        if (found == m_hosts.end())
            return;
        found->second.reach = probe->reach();
        found->second.isUnderWay = false;
    });
}

} // namespace vorn
