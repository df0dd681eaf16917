// SPDX-License-Identifier: Apache-2.0

#include "views/director/desk_view_model.h"

#include "director/director_session.h"
#include "views/director/camera_wall_view_model.h"

#include <QSettings>

namespace vorn {

using namespace Qt::StringLiterals;

DeskViewModel::DeskViewModel(DirectorSession &session, CameraWallViewModel &wall,
                             QSettings &settings)
    : m_session(session), m_wall(wall), m_settings(settings), m_pictureRatio(wall.widestRatio())
{
    connect(&wall, &CameraWallViewModel::changed, this, &DeskViewModel::followPictures);
}

bool DeskViewModel::isInspectorFolded() const
{
    // Any other text would count as true.
    return m_settings.value(inspectorFoldedKey).toString() == u"true"_s;
}

void DeskViewModel::setInspectorFolded(bool folded)
{
    keep(inspectorFoldedKey, folded);
}

double DeskViewModel::inspectorWidth() const
{
    constexpr double widestDesktop = 100'000;
    return kept(inspectorWidthKey, widestDesktop);
}

void DeskViewModel::setInspectorWidth(double width)
{
    keep(inspectorWidthKey, width);
}

double DeskViewModel::wallShare() const
{
    return kept(wallShareKey, 1);
}

void DeskViewModel::setWallShare(double share)
{
    keep(wallShareKey, share);
}

void DeskViewModel::followPictures()
{
    if (m_session.isSessionRunning() || m_pictureRatio == m_wall.widestRatio())
        return;
    m_pictureRatio = m_wall.widestRatio();
    Q_EMIT changed();
}

double DeskViewModel::kept(QStringView key, double largest) const
{
    const double value = m_settings.value(key).toDouble(); // 0 where it is no number
    return value > 0 && value <= largest ? value : 0;
}

void DeskViewModel::keep(QStringView key, const QVariant &value)
{
    m_settings.setValue(key, value);
    Q_EMIT changed();
}

} // namespace vorn
