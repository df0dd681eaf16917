// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/cast.h"

#include <QImage>
#include <QSize>

namespace vorn::rig {

/// Draws the one scene that all phones film: a clock tower at night whose hand goes round once a
/// second, and cars that pass it. What moves depends on the scene time alone, so pictures of two
/// phones agree exactly when they show the same moment. Second 0 is the reference phone's first
/// picture. On each whole second the dial flashes, and the sound track clicks (sound_track.h).
/// Needs a QGuiApplication for its fonts. Drawing is const; one object serves any one thread.
class Scene {
public:
    /// The scene as that phone of the cast sees it. A picture is `size` pixels, wide or upright.
    Scene(int castIndex, QSize size);

    /// The picture at that scene time, with the counter strip (counter.h). Format_RGB32. `note`
    /// stands behind the clock.
    [[nodiscard]] QImage picture(double sceneSeconds, const QString &note = {}) const;

private:
    void paintWorld(QPainter &painter, double sceneSeconds) const;
    void paintLabels(QPainter &painter, double sceneSeconds, const QString &note) const;

    int m_castIndex;
    SceneLook m_look;
    QSize m_size;
    QImage m_backdrop; ///< all that never moves, drawn once
};

} // namespace vorn::rig
