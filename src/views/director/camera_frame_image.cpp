// SPDX-License-Identifier: Apache-2.0

#include "views/director/camera_frame_image.h"

#include <QMatrix4x4>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTransformNode>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

QString textOfAge(MonotonicClock::duration age)
{
    using namespace std::chrono;
    if (age <= CameraFrameImage::oldestLive)
        return {};
    return age < 1min ? u"Picture %1 s old"_s.arg(duration_cast<seconds>(age).count())
                      : u"Picture %1 min old"_s.arg(duration_cast<minutes>(age).count());
}

} // namespace

CameraFrameImage::CameraFrameImage(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void CameraFrameImage::setDirector(DirectorViewModel *director)
{
    if (m_director == director)
        return;
    if (m_director)
        m_director->disconnect(this);
    m_director = director;
    if (director) {
        connect(&director->session().previews(), &LivePreviewStore::frameChanged, this,
                &CameraFrameImage::onFrame);
        connect(&director->session().previews(), &LivePreviewStore::shownWidthAsked, this,
                &CameraFrameImage::tellShownWidth);
        connect(&director->pacer(), &FramePacer::beat, this, [this] {
            if (m_isOutdated)
                refresh();
        });
        // A camera that goes offline, is turned, or leaves; a frame that grows old.
        connect(&director->session(), &DirectorSession::camerasChanged, this,
                &CameraFrameImage::refresh);
    }
    refresh();
    Q_EMIT directorChanged();
}

void CameraFrameImage::setCameraID(const QString &id)
{
    if (m_cameraID == id)
        return;
    m_cameraID = id;
    refresh();
    Q_EMIT cameraIDChanged();
}

void CameraFrameImage::setMonitor(bool isMonitor)
{
    if (m_isMonitor == isMonitor)
        return;
    m_isMonitor = isMonitor;
    refresh();
    Q_EMIT monitorChanged();
}

void CameraFrameImage::onFrame(const QString &cameraID, VORNPreviewProfile profile)
{
    if (cameraID != m_cameraID || (profile == VORNPreviewProfile::selected && !m_isMonitor))
        return;
    m_isOutdated = true;
    if (m_director)
        m_director->pacer().request();
}

const PreviewFrame *CameraFrameImage::frame() const
{
    if (!m_director || m_cameraID.isEmpty())
        return nullptr;
    const DirectorSession &session = m_director->session();
    return m_isMonitor ? session.previewFrame(m_cameraID)
                       : session.previews().frame(m_cameraID, VORNPreviewProfile::wall);
}

void CameraFrameImage::refresh()
{
    m_isOutdated = false;
    const PreviewFrame *shown = frame();
    const QImage image = shown ? shown->image : QImage();
    const int rotation = shown ? m_director->session().frameRotation(m_cameraID, shown->size) : 0;
    const QString age = shown ? textOfAge(MonotonicClock::now() - shown->receivedAt) : QString();
    if (std::exchange(m_ageText, age) != age)
        Q_EMIT ageTextChanged();
    if (image.cacheKey() == m_image.cacheKey() && rotation == m_rotation)
        return;
    const bool hadFrame = hasFrame();
    m_image = image;
    m_size = shown ? shown->size : QSize();
    m_isNewImage = true;
    m_rotation = rotation;
    update();
    if (hadFrame != hasFrame())
        Q_EMIT hasFrameChanged();
}

QSizeF CameraFrameImage::drawnSize(QSize picture, int rotation) const
{
    const bool isQuarterTurn = rotation == 90 || rotation == 270;
    return QSizeF(picture).scaled(isQuarterTurn ? size().transposed() : size(),
                                  Qt::KeepAspectRatio);
}

void CameraFrameImage::tellShownWidth(const StreamKey &key, int &pixels) const
{
    const bool isSeen = window() && window()->isVisible() && isVisible();
    const PreviewFrame *shown = isSeen && key.cameraID == m_cameraID ? frame() : nullptr;
    if (!shown)
        return;
    const DirectorSession &session = m_director->session();
    if (shown != session.previews().frame(key.cameraID, key.profile))
        return;
    const int rotation = session.frameRotation(m_cameraID, shown->size);
    const double width =
        drawnSize(shown->size, rotation).width() * window()->effectiveDevicePixelRatio();
    pixels = std::max(pixels, int(std::ceil(width)));
}

QSGNode *CameraFrameImage::updatePaintNode(QSGNode *old, UpdatePaintNodeData *)
{
    std::unique_ptr<QSGTransformNode> turn(static_cast<QSGTransformNode *>(old));
    if (m_image.isNull() || width() <= 0 || height() <= 0)
        return nullptr;
    if (!turn) {
        turn = std::make_unique<QSGTransformNode>();
        QSGImageNode *created = window()->createImageNode();
        created->setOwnsTexture(true);
        created->setFiltering(QSGTexture::Linear);
        turn->appendChildNode(created);
        m_isNewImage = true;
    }
    auto *frame = static_cast<QSGImageNode *>(turn->firstChild());
    if (std::exchange(m_isNewImage, false))
        frame->setTexture(window()->createTextureFromImage(m_image, QQuickWindow::TextureIsOpaque));

    const QSizeF fitted = drawnSize(m_size, m_rotation);
    frame->setRect(QRectF(QPointF(-fitted.width() / 2, -fitted.height() / 2), fitted));
    QMatrix4x4 matrix;
    matrix.translate(float(width() / 2), float(height() / 2));
    matrix.rotate(float(m_rotation), 0, 0, 1);
    turn->setMatrix(matrix);
    return turn.release();
}

} // namespace vorn
