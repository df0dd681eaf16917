// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QString>

/// Who films: the phones of the rig, the same ones in every take and on every network.
namespace vorn::rig {

/// The most phones that the rig simulates at once.
inline constexpr int maximumCameras = 16;

/// How one phone sees the scene.
struct SceneLook {
    QString label;   ///< drawn into the picture, such as "CAM A"
    QString owner;   ///< drawn below it, such as "Mara's phone"
    QColor tint;     ///< the colour of its evening and of its label
    double pan = 0;  ///< where it stands: world units to the right of the middle
    double zoom = 1; ///< magnification
};

/// One phone and whose it is.
struct CastMember {
    QString cameraId;   ///< "cam-a" and on
    QString deviceId;   ///< UUID text, the same in every run
    QString deviceName; ///< "Mara's phone" and on
    SceneLook look;
};

/// The phone of that index, from 0 to maximumCameras - 1.
[[nodiscard]] CastMember castMember(int index);

} // namespace vorn::rig
