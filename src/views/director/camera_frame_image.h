// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preview/preview_profile.h"
#include "views/director/director_view_model.h"

#include <QImage>
#include <QPointer>
#include <QQuickItem>

#include <chrono>

namespace vorn {

/// Draws a camera's latest preview frame upright, as large as fits, and nothing around it.
/// Repaints only for a frame that is new, at the pace of FramePacer. Context: UI thread.
class CameraFrameImage : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vorn::DirectorViewModel *director READ director WRITE setDirector NOTIFY
                   directorChanged REQUIRED)
    Q_PROPERTY(QString cameraID READ cameraID WRITE setCameraID NOTIFY cameraIDChanged REQUIRED)
    /// On a monitor: the large frame where there is one, and none of a camera that is offline.
    Q_PROPERTY(bool monitor READ isMonitor WRITE setMonitor NOTIFY monitorChanged)
    Q_PROPERTY(bool hasFrame READ hasFrame NOTIFY hasFrameChanged)
    /// How old the frame is, once that is more than it may be; else empty.
    Q_PROPERTY(QString ageText READ ageText NOTIFY ageTextChanged)
public:
    /// An older frame must not look live.
    static constexpr std::chrono::seconds oldestLive{2};

    explicit CameraFrameImage(QQuickItem *parent = nullptr);

    [[nodiscard]] DirectorViewModel *director() const { return m_director; }
    void setDirector(DirectorViewModel *director);
    [[nodiscard]] const QString &cameraID() const { return m_cameraID; }
    void setCameraID(const QString &id);
    [[nodiscard]] bool isMonitor() const { return m_isMonitor; }
    void setMonitor(bool isMonitor);
    [[nodiscard]] bool hasFrame() const { return !m_image.isNull(); }
    [[nodiscard]] const QString &ageText() const { return m_ageText; }
    /// The one that it shows; null when it shows none.
    [[nodiscard]] const PreviewFrame *frame() const;

Q_SIGNALS:
    void directorChanged();
    void cameraIDChanged();
    void monitorChanged();
    void hasFrameChanged();
    void ageTextChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *old, UpdatePaintNodeData *data) override;

private:
    void onFrame(const QString &cameraID, VORNPreviewProfile profile);
    void refresh();
    /// How large the picture is drawn, before it is turned.
    [[nodiscard]] QSizeF drawnSize(QSize picture, int rotation) const;
    void tellShownWidth(const StreamKey &key, int &pixels) const;

    QPointer<DirectorViewModel> m_director;
    QString m_cameraID;
    bool m_isMonitor = false;
    bool m_isOutdated = false; ///< a newer frame waits for the next beat
    QImage m_image;
    QSize m_size; ///< of the picture of which the image shows all, perhaps smaller
    QString m_ageText;
    bool m_isNewImage = false; ///< since it was last drawn
    int m_rotation = 0;        ///< degrees, clockwise
};

} // namespace vorn
