// SPDX-License-Identifier: Apache-2.0

#include "views/director/camera_frame_image.h"

#include <QMatrix4x4>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTransformNode>

#include <memory>

namespace vorn {

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
        connect(&director->pacer(), &FramePacer::beat, this, [this] {
            if (m_isStale)
                refresh();
        });
        // A camera that goes offline, is turned, or leaves.
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
    m_isStale = true;
    if (m_director)
        m_director->pacer().request();
}

void CameraFrameImage::refresh()
{
    m_isStale = false;
    QImage image;
    int rotation = 0;
    if (m_director && !m_cameraID.isEmpty()) {
        const DirectorSession &session = m_director->session();
        image = m_isMonitor ? session.previewImage(m_cameraID) : m_director->wallFrame(m_cameraID);
        rotation = session.frameRotation(m_cameraID, image.size());
    }
    if (image.cacheKey() == m_image.cacheKey() && rotation == m_rotation)
        return;
    const bool hadFrame = hasFrame();
    m_image = image;
    m_isNewImage = true;
    m_rotation = rotation;
    update();
    if (hadFrame != hasFrame())
        Q_EMIT hasFrameChanged();
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

    const bool isQuarterTurn = m_rotation == 90 || m_rotation == 270;
    const QSizeF room = isQuarterTurn ? size().transposed() : size();
    const QSizeF fitted = QSizeF(m_image.size()).scaled(room, Qt::KeepAspectRatio);
    frame->setRect(QRectF(QPointF(-fitted.width() / 2, -fitted.height() / 2), fitted));
    QMatrix4x4 matrix;
    matrix.translate(float(width() / 2), float(height() / 2));
    matrix.rotate(float(m_rotation), 0, 0, 1);
    turn->setMatrix(matrix);
    return turn.release();
}

} // namespace vorn
