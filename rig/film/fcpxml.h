// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QString>
#include <QXmlStreamReader>

/// What the readers of timelines share. All throw RigError for what cannot be followed.
namespace vorn::rig {

/// The share of a frame by which a time may miss the grid. Rational times are exact to 10^-12; this
/// is far above and harmless.
inline constexpr double gridTolerance = 0.001;

[[nodiscard]] QString attribute(const QXmlStreamReader &xml, const QString &name);

/// A rational time: "1001/30000s", or "0s".
[[nodiscard]] double seconds(const QXmlStreamReader &xml, const QString &name);

struct FcpxmlAsset {
    QString moviePath; ///< absolute
    double durationSeconds = 0;
};

/// The formats and assets that come before everything else.
class FcpxmlResources {
public:
    /// Notes the element at which the reader stands; others than format and asset count for
    /// nothing.
    void read(const QXmlStreamReader &xml);

    /// Of the format that the element names.
    [[nodiscard]] double framesPerSecond(const QXmlStreamReader &xml) const;
    /// The asset to which the element refers.
    [[nodiscard]] FcpxmlAsset asset(const QXmlStreamReader &xml) const;

private:
    QHash<QString, double> m_frameDurations;
    QHash<QString, FcpxmlAsset> m_assets;
};

/// Throws when the document has turned out to be no XML.
void refuseXmlError(const QXmlStreamReader &xml);

} // namespace vorn::rig
