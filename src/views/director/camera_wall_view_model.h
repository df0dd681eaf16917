// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"

#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <map>

namespace vorn {

class DirectorSession;
class LiveCameraDiscovery;

/// One of the four places of the wall, with a camera or waiting for one.
struct TileRow {
    QString key;       ///< says which camera, or which empty place
    QString cameraID;  ///< empty for an empty place
    QString title;     ///< the camera's name, or "CAM 3"
    QString shortcut;  ///< puts it in Preview, and is the number of its place; else empty
    QString notice;    ///< where there is no frame
    QString levelText; ///< such as "-18 dB", or "OFFLINE"
    double levelDB = 0;
    QString batteryText;
    QString qualityText;
    QString spoken; ///< all of these, for assistive tools
    bool isEmpty = false;
    bool isPreview = false;
    bool isProgram = false;
    bool recording = false;
    bool online = false;

    bool operator==(const TileRow &) const = default;
};

/// Width by height of the tallest and of the widest of some pictures, as they are shown.
struct PictureRatios {
    double tallest;
    double widest;

    bool operator==(const PictureRatios &) const = default;
};

/// The multiview. Context: UI thread.
class CameraWallViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QAbstractItemModel *tiles READ tiles CONSTANT)
    Q_PROPERTY(bool hasCameras READ hasCameras NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(double tallestRatio READ tallestRatio NOTIFY changed)
    Q_PROPERTY(double widestRatio READ widestRatio NOTIFY changed)
public:
    static constexpr int places = 4;

    CameraWallViewModel(DirectorSession &session, LiveCameraDiscovery &discovery);

    [[nodiscard]] QAbstractItemModel *tiles() { return &m_rows; }
    [[nodiscard]] bool hasCameras() const { return m_cameraCount > 0; }
    [[nodiscard]] QString subtitle() const;
    /// Width by height of the pictures that the places are made for: those on the wall, or, where
    /// there are none, those of before. A camera counts with its last picture as long as it has a
    /// place, and a change when it has stood for a second: pictures that come one by one, a phone
    /// in a hand that moves, a stream that fails make no place move.
    [[nodiscard]] double tallestRatio() const { return m_ratios.tallest; }
    [[nodiscard]] double widestRatio() const { return m_ratios.widest; }

    /// Puts a tile's camera in Preview.
    Q_INVOKABLE void select(const QString &cameraID);
    /// The same for the camera of a place, counted from 0; for an empty one nothing.
    Q_INVOKABLE void selectPlace(int place);

Q_SIGNALS:
    void changed();

private:
    void refresh();
    void followPictures();

    DirectorSession &m_session;
    LiveCameraDiscovery &m_discovery;
    int m_cameraCount = 0;
    RowListModel<TileRow> m_rows;
    std::map<QString, double> m_lastRatios;     ///< of the cameras that have a place
    PictureRatios m_ratios{16.0 / 9, 16.0 / 9}; ///< what phones send, unless they are upright
    PictureRatios m_nextRatios = m_ratios;      ///< in force when m_standing ends
    QTimer m_standing;
};

} // namespace vorn
