// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QSettings;

namespace vorn {

class CameraWallViewModel;
class DirectorSession;

/// How the panes of the Director window share its room: what a hand has set, which the settings
/// keep, and for which pictures the rest is laid out. Context: UI thread.
class DeskViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(bool inspectorFolded READ isInspectorFolded WRITE setInspectorFolded NOTIFY changed)
    Q_PROPERTY(double inspectorWidth READ inspectorWidth WRITE setInspectorWidth NOTIFY changed)
    Q_PROPERTY(double wallShare READ wallShare WRITE setWallShare NOTIFY changed)
    Q_PROPERTY(double pictureRatio READ pictureRatio NOTIFY changed)
public:
    static constexpr QStringView inspectorFoldedKey = u"director.inspectorFolded";
    static constexpr QStringView inspectorWidthKey = u"director.inspectorWidth";
    static constexpr QStringView wallShareKey = u"director.wallShare";

    /// All must outlive it.
    DeskViewModel(DirectorSession &session, CameraWallViewModel &wall, QSettings &settings);

    [[nodiscard]] bool isInspectorFolded() const;
    void setInspectorFolded(bool folded);
    /// As a hand has set it; 0 where none has.
    [[nodiscard]] double inspectorWidth() const;
    void setInspectorWidth(double width);
    /// The wall's share of the room for wall and switcher, likewise. A share, so that both gain
    /// when the inspector folds or the window grows.
    [[nodiscard]] double wallShare() const;
    void setWallShare(double share);
    /// Width by height of the widest picture on the wall. Stands still while a session runs, when
    /// CUT may not move away from under the pointer.
    [[nodiscard]] double pictureRatio() const { return m_pictureRatio; }

Q_SIGNALS:
    void changed();

private:
    void followPictures();
    /// 0 where there is none, or it cannot be one.
    [[nodiscard]] double kept(QStringView key, double largest) const;
    void keep(QStringView key, const QVariant &value);

    DirectorSession &m_session;
    CameraWallViewModel &m_wall;
    QSettings &m_settings;
    double m_pictureRatio;
};

} // namespace vorn
