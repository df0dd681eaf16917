// SPDX-License-Identifier: Apache-2.0

#include "preview/stream_reconciler.h"

#include "preview/preview_roster.h"

#include <algorithm>
#include <utility>

namespace vorn {

StreamChanges StreamReconciler::start(std::vector<LiveCamera> cameras, PreviewMoment now)
{
    m_isRunning = true;
    return update(std::move(cameras), now);
}

StreamChanges StreamReconciler::update(std::vector<LiveCamera> cameras, PreviewMoment now)
{
    m_cameras = std::move(cameras);
    return reconcile(now);
}

StreamChanges StreamReconciler::select(std::set<QString> cameraIDs, PreviewMoment now)
{
    m_selectedIDs = std::move(cameraIDs);
    return reconcile(now);
}

StreamChanges StreamReconciler::stop()
{
    StreamChanges changes;
    for (const auto &[key, stream] : m_streams) {
        if (stream.state == State::running)
            changes.stopped.push_back(stream.run);
    }
    m_streams.clear();
    m_isRunning = false;
    return changes;
}

StreamChanges StreamReconciler::reconcile(PreviewMoment now)
{
    StreamChanges changes;
    if (!m_isRunning)
        return changes;
    m_eligibleIDs = LivePreviewRoster::eligibleIDs(m_cameras, now.wall);
    m_isHeldBack = false;
    const Hosts hosts = wanted(now);
    std::erase_if(m_streams, [&](const auto &entry) {
        const auto &[key, stream] = entry;
        const auto host = hosts.find(key);
        if (host != hosts.end() && host->second == stream.run.host)
            return false;
        if (stream.state == State::running)
            changes.stopped.push_back(stream.run);
        m_failureCounts.erase(key);
        return true;
    });
    for (const auto &[key, host] : hosts) {
        // One that waits goes on waiting: a camera that refuses is not asked again with each of
        // its status messages.
        if (!m_streams.contains(key))
            startStream(key, host, now, changes);
    }
    return changes;
}

StreamReconciler::Hosts StreamReconciler::wanted(PreviewMoment now) const
{
    Hosts hosts;
    for (const LiveCamera &camera : LivePreviewRoster::eligible(m_cameras, now.wall)) {
        hosts[{camera.id, VORNPreviewProfile::wall}] = camera.host;
        if (m_selectedIDs.contains(camera.id))
            hosts[{camera.id, VORNPreviewProfile::selected}] = camera.host;
    }
    return hosts;
}

void StreamReconciler::startStream(const StreamKey &key, const QString &host, PreviewMoment now,
                                   StreamChanges &changes)
{
    if (m_runs == maximumRuns) {
        m_isHeldBack = true;
        return;
    }
    ++m_runs;
    const auto preference = m_legacyPreferences.find(key);
    const bool prefersLegacy = preference != m_legacyPreferences.end()
                               && preference->second.host == host
                               && now.monotonic < preference->second.until;
    const StreamRun run{key, host, ++m_lastToken, prefersLegacy};
    m_streams[key] = {run, State::running};
    changes.started.push_back(run);
}

StreamReconciler::Streams::iterator StreamReconciler::find(const StreamRun &run, State state)
{
    const auto stream = m_streams.find(run.key);
    return stream != m_streams.end() && stream->second.run.token == run.token
                   && stream->second.state == state
               ? stream
               : m_streams.end();
}

bool StreamReconciler::publish(const StreamRun &run, Transport transport)
{
    if (find(run, State::running) == m_streams.end())
        return false;
    m_failureCounts.erase(run.key);
    if (transport == Transport::persistent)
        m_legacyPreferences.erase(run.key);
    return true;
}

StreamReconciler::Ending
StreamReconciler::end(const StreamRun &run, std::optional<Transport> transport, PreviewMoment now)
{
    --m_runs;
    Ending ending;
    const auto stream = find(run, State::running);
    if (stream != m_streams.end()) {
        if (wanted(now).contains(run.key)) {
            stream->second.state = State::waiting;
            if (transport == Transport::legacy)
                rememberLegacy(run, now.monotonic);
            ending.retry = {run, delayAfter(run.key, !transport.has_value())};
        } else {
            m_streams.erase(stream);
        }
    }
    if (m_isHeldBack)
        ending.changes = reconcile(now);
    return ending;
}

void StreamReconciler::rememberLegacy(const StreamRun &run, MonotonicClock::time_point now)
{
    std::erase_if(m_legacyPreferences,
                  [now](const auto &entry) { return entry.second.until <= now; });
    m_legacyPreferences[run.key] = {run.host, now + VORNPreviewClient::legacyProbeInterval};
}

std::chrono::milliseconds StreamReconciler::delayAfter(const StreamKey &key, bool hasFailed)
{
    if (!hasFailed) {
        m_failureCounts.erase(key);
        return key.profile == VORNPreviewProfile::wall ? m_pace.wallPause : m_pace.selectedPause;
    }
    constexpr int maximumCount = 5;
    int &count = m_failureCounts[key];
    count = std::min(count + 1, maximumCount);
    return std::min(m_pace.firstBackOff * (1 << (count - 1)), m_pace.maximumBackOff);
}

StreamChanges StreamReconciler::retry(const StreamRun &after, PreviewMoment now)
{
    StreamChanges changes;
    const auto stream = find(after, State::waiting);
    if (stream == m_streams.end())
        return changes;
    m_streams.erase(stream);
    if (wanted(now).contains(after.key))
        startStream(after.key, after.host, now, changes);
    return changes;
}

} // namespace vorn
