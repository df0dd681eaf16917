// SPDX-License-Identifier: Apache-2.0

#include "preview/live_preview_store.h"

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {

LivePreviewStore::LivePreviewStore(PreviewOptions options, QObject *parent)
    : QObject(parent), m_streams(u"preview-state"_s, [this, options] {
          auto streams = std::make_unique<PreviewStreams>(options);
          // Connected on the streams' thread; arrives on the UI thread.
          connect(streams.get(), &PreviewStreams::published, this, &LivePreviewStore::publish);
          connect(streams.get(), &PreviewStreams::failed, this, &LivePreviewStore::fail);
          connect(streams.get(), &PreviewStreams::eligibleIDsChanged, this,
                  &LivePreviewStore::keepOnly);
          return streams;
      })
{
}

void LivePreviewStore::start(const std::vector<LiveCamera> &cameras)
{
    m_ui.assertCurrent();
    m_streams.post([cameras](PreviewStreams &streams) { streams.start(cameras); });
}

void LivePreviewStore::update(const std::vector<LiveCamera> &cameras)
{
    m_ui.assertCurrent();
    m_streams.post([cameras](PreviewStreams &streams) { streams.update(cameras); });
}

void LivePreviewStore::select(const std::set<QString> &cameraIDs)
{
    m_ui.assertCurrent();
    m_streams.post([cameraIDs](PreviewStreams &streams) { streams.select(cameraIDs); });
}

void LivePreviewStore::stop()
{
    m_ui.assertCurrent();
    m_streams.post([](PreviewStreams &streams) { streams.stop(); });
}

const std::map<QString, PreviewFrame> &LivePreviewStore::wallFrames() const
{
    m_ui.assertCurrent();
    return m_wallFrames;
}

const std::map<QString, PreviewFrame> &LivePreviewStore::selectedFrames() const
{
    m_ui.assertCurrent();
    return m_selectedFrames;
}

const std::map<QString, QString> &LivePreviewStore::errors() const
{
    m_ui.assertCurrent();
    return m_errors;
}

const std::map<QString, WallTime> &LivePreviewStore::frameTimes() const
{
    m_ui.assertCurrent();
    return m_frameTimes;
}

const PreviewFrame *LivePreviewStore::frame(const QString &cameraID,
                                            VORNPreviewProfile profile) const
{
    m_ui.assertCurrent();
    const Frames &frames = profile == VORNPreviewProfile::wall ? m_wallFrames : m_selectedFrames;
    const auto found = frames.find(cameraID);
    return found == frames.end() ? nullptr : &found->second;
}

std::optional<Transport> LivePreviewStore::transport(const QString &cameraID,
                                                     VORNPreviewProfile profile) const
{
    m_ui.assertCurrent();
    const PreviewFrame *last = frame(cameraID, profile);
    return last ? std::optional(last->transport) : std::nullopt;
}

const std::map<StreamKey, StreamStatistics> &LivePreviewStore::statistics() const
{
    m_ui.assertCurrent();
    return m_statistics;
}

LivePreviewStore::Frames &LivePreviewStore::framesOf(VORNPreviewProfile profile)
{
    return profile == VORNPreviewProfile::wall ? m_wallFrames : m_selectedFrames;
}

void LivePreviewStore::publish(const StreamKey &key, const PreviewFrame &frame,
                               const StreamStatistics &statistics)
{
    m_ui.assertCurrent();
    const auto before = transport(key.cameraID, key.profile);
    framesOf(key.profile).insert_or_assign(key.cameraID, frame);
    m_frameTimes[key.cameraID] = std::chrono::system_clock::now();
    m_statistics[key] = statistics;
    const bool hadError = m_errors.erase(key.cameraID) > 0;
    int shownWidth = 0;
    Q_EMIT shownWidthAsked(key, shownWidth);
    m_streams.post(
        [key, shownWidth](PreviewStreams &streams) { streams.frameTaken(key, shownWidth); });
    Q_EMIT frameChanged(key.cameraID, key.profile);
    if (before != frame.transport)
        Q_EMIT transportChanged(key.cameraID, key.profile);
    if (hadError)
        Q_EMIT errorChanged(key.cameraID);
}

void LivePreviewStore::fail(const StreamKey &key, const QString &error)
{
    m_ui.assertCurrent();
    // A stream that once showed a frame keeps it, and shows no error.
    if (framesOf(key.profile).contains(key.cameraID))
        return;
    QString &shown = m_errors[key.cameraID];
    if (std::exchange(shown, error) != error)
        Q_EMIT errorChanged(key.cameraID);
}

void LivePreviewStore::keepOnly(const std::set<QString> &cameraIDs)
{
    m_ui.assertCurrent();
    const auto hasLeft = [&cameraIDs](const auto &entry) {
        return !cameraIDs.contains(entry.first);
    };
    std::erase_if(m_frameTimes, hasLeft);
    std::erase_if(m_statistics,
                  [&](const auto &entry) { return !cameraIDs.contains(entry.first.cameraID); });
    // Told only when all is gone, so that who listens sees one state.
    std::vector<StreamKey> goneFrames;
    for (const auto profile : {VORNPreviewProfile::wall, VORNPreviewProfile::selected}) {
        for (const auto &[id, frame] : framesOf(profile)) {
            if (!cameraIDs.contains(id))
                goneFrames.push_back({id, profile});
        }
        std::erase_if(framesOf(profile), hasLeft);
    }
    std::set<QString> goneErrors;
    for (const auto &[id, error] : m_errors) {
        if (!cameraIDs.contains(id))
            goneErrors.insert(id);
    }
    std::erase_if(m_errors, hasLeft);
    for (const StreamKey &key : goneFrames) {
        Q_EMIT frameChanged(key.cameraID, key.profile);
        Q_EMIT transportChanged(key.cameraID, key.profile);
    }
    for (const QString &id : goneErrors)
        Q_EMIT errorChanged(id);
}

} // namespace vorn
