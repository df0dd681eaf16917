// SPDX-License-Identifier: Apache-2.0

#include "drift/export_steps.h"

#include "base/byte_sum.h"
#include "base/digest.h"
#include "base/files.h"
#include "drift/drift_error.h"
#include "drift/fcpxml_text.h"
#include "drift/rate_text.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QString requiredReferenceCamera(const VORNTake &take)
{
    if (take.clips.empty())
        throw DriftExportError::missing(u"The selected take has no clips."_s);
    if (!take.referenceCameraId
        || std::ranges::find(take.clips, *take.referenceCameraId, &VORNClip::cameraId)
               == take.clips.end())
        throw DriftExportError::missing(u"Choose a reference camera before export."_s);
    return *take.referenceCameraId;
}

/// Paths need no such check: percent-encoding leaves nothing of them that XML could refuse.
void requireXmlText(const QString &subject, const QString &text)
{
    const QString possible = DriftEngine::xmlText(text);
    if (possible != text)
        throw DriftExportError::invalid(
            subject + u" \""_s + possible
            + u"\" holds a control character or another character that the timeline document "
              "cannot hold (shown as \uFFFD). Rename it before export."_s);
}

/// 0 for what is not there: that is refused when the clip's turn comes.
std::int64_t sizeOnDisk(const VORNClip &clip)
{
    return clip.localPath && fileExists(*clip.localPath) ? QFileInfo(*clip.localPath).size() : 0;
}

/// A relative path would become a host name in the timeline's file URL.
QString absolutePath(const QString &path)
{
    return path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path;
}

QString locatedFile(const VORNClip &clip)
{
    if (!clip.localPath)
        throw DriftExportError::missing(clip.cameraId + u" has not been downloaded."_s);
    if (!fileExists(*clip.localPath))
        throw DriftExportError::missing(u"Missing source: "_s + *clip.localPath);
    return absolutePath(*clip.localPath);
}

QString digestOf(const QString &path, const ByteReport &onBytes)
{
    if (!QFileInfo(path).isReadable())
        throw DriftExportError::missing(u"Cannot open "_s + path + u'.');
    return sha256OfFile(path, onBytes);
}

void requireDigest(const Prepared &item)
{
    if (item.digest.compare(item.clip.sha256, Qt::CaseInsensitive) != 0)
        throw DriftExportError::invalid(u"Checksum mismatch for "_s + item.clip.cameraId + u'.');
}

void requireMeaning(const VORNClip &clip)
{
    if (clip.anchorMeaning != DriftEngine::alignableMeaning)
        throw DriftExportError::invalid(clip.cameraId
                                        + u" does not have same-event media anchors."_s);
}

/// The steps of one clip, each of which may lack what one before has refused.
class ClipSteps {
public:
    ClipSteps(const VORNClip &clip, std::size_t index, const DriftEngine::OnRefusal &refused)
        : m_index(index), m_refused(refused)
    {
        m_result.item.clip = clip;
    }

    /// True when the file's bytes can be read.
    bool read(DriftEngine::FileBytes bytes, const ByteReport &onBytes)
    {
        Prepared &item = m_result.item;
        if (!attempt([&] { item.path = locatedFile(item.clip); }))
            return false;
        if (bytes == DriftEngine::FileBytes::trust)
            return true;
        if (!attempt([&] { item.digest = digestOf(item.path, onBytes); }))
            return false;
        attempt([&] { requireDigest(item); });
        return true;
    }

    void measure()
    {
        if (!attempt([&] { m_result.probed = probeMedia(m_result.item.path); }))
            return;
        m_result.hasMedia = attempt([&] {
            m_result.item.media = DriftEngine::mediaInfo(*m_result.probed, m_result.item.path);
        });
    }

    void align(const QString &referenceCameraId)
    {
        const VORNClip &clip = m_result.item.clip;
        if (clip.cameraId == referenceCameraId) {
            m_result.hasLine = true;
            return;
        }
        const double duration = m_result.probed ? m_result.probed->durationSeconds : 0;
        if (attempt([&] { requireMeaning(clip); }) && std::isfinite(duration) && duration > 0)
            m_result.hasLine = attempt(
                [&] { m_result.item.correction = DriftEngine::fit(clip.anchors, duration); });
    }

    [[nodiscard]] DriftEngine::Preparation result() && { return std::move(m_result); }

private:
    bool attempt(const std::function<void()> &step)
    {
        return DriftEngine::attempt(m_refused, m_index, step);
    }

    std::size_t m_index;
    const DriftEngine::OnRefusal &m_refused;
    DriftEngine::Preparation m_result;
};

} // namespace

void DriftEngine::stopAtRefusal(std::optional<std::size_t> /*clip*/,
                                const std::exception_ptr &refusal)
{
    std::rethrow_exception(refusal);
}

bool DriftEngine::attempt(const OnRefusal &refused, std::optional<std::size_t> clip,
                          const std::function<void()> &step)
{
    try {
        step();
        return true;
    } catch (const SentenceError &) { // what else there is, as of a listener, is no refusal
        refused(clip, std::current_exception());
    }
    return false;
}

DriftEngine::TakeBasis DriftEngine::takeBasis(const VORNTake &take, const OnRefusal &refused)
{
    TakeBasis basis;
    attempt(refused, {}, [&] { basis.referenceCameraId = requiredReferenceCamera(take); });
    attempt(refused, {}, [&] { basis.fps = fpsValue(take.timelineFPS); });
    return basis;
}

void DriftEngine::requireXmlNames(const VORNProject &project, const VORNTake &take,
                                  const OnRefusal &refused)
{
    attempt(refused, {}, [&] { requireXmlText(u"The project name"_s, project.name); });
    attempt(refused, {}, [&] { requireXmlText(u"The take id"_s, take.id); });
    for (std::size_t index = 0; const VORNClip &clip : take.clips)
        attempt(refused, index++, [&] { requireXmlText(u"The camera id"_s, clip.cameraId); });
}

std::vector<DriftEngine::Preparation>
DriftEngine::preparations(const VORNTake &take, const std::optional<QString> &referenceCameraId,
                          FileBytes bytes, const OnExportProgress &onProgress,
                          const OnRefusal &refused)
{
    ExportProgress progress;
    progress.clipCount = std::size_t(take.clips.size());
    for (const VORNClip &clip : take.clips)
        progress.totalBytes = byteSum(progress.totalBytes, sizeOnDisk(clip));

    std::vector<Preparation> result;
    std::int64_t bytesBefore = 0;
    for (const VORNClip &clip : take.clips) {
        progress.cameraId = clip.cameraId;
        progress.clipIndex = result.size();
        ClipSteps steps(clip, result.size(), refused);
        const bool isRead = steps.read(bytes, [&](std::int64_t done) {
            progress.completedBytes = byteSum(bytesBefore, done);
            if (onProgress)
                onProgress(progress);
        });
        if (isRead)
            steps.measure();
        if (referenceCameraId)
            steps.align(*referenceCameraId);
        result.push_back(std::move(steps).result());
        bytesBefore = progress.completedBytes;
    }
    return result;
}

std::vector<std::optional<Placement>>
DriftEngine::placements(const std::vector<Preparation> &preparations, double fps,
                        const OnRefusal &refused)
{
    std::vector<std::optional<Placement>> result(preparations.size());
    for (std::size_t index = 0; index < preparations.size(); ++index) {
        if (preparations[index].isComplete())
            attempt(refused, index,
                    [&] { result[index] = placement(preparations[index].item, fps); });
    }
    return result;
}

} // namespace vorn
