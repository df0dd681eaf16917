// SPDX-License-Identifier: Apache-2.0

#include "rig/film/fcpxml.h"

#include "rig/base/rig_error.h"

#include <QStringList>
#include <QUrl>

namespace vorn::rig {

using namespace Qt::StringLiterals;

QString attribute(const QXmlStreamReader &xml, const QString &name)
{
    if (!xml.attributes().hasAttribute(name))
        throw RigError(u"The timeline has a <%1> without \"%2\" in line %3."_s.arg(xml.name(), name)
                           .arg(xml.lineNumber()));
    return xml.attributes().value(name).toString();
}

double seconds(const QXmlStreamReader &xml, const QString &name)
{
    const QString text = attribute(xml, name);
    const QStringList parts = text.chopped(text.isEmpty() ? 0 : 1).split(u'/');
    bool hasNumerator = false;
    bool hasDenominator = parts.size() == 1;
    const double numerator = double(parts.at(0).toLongLong(&hasNumerator));
    const double denominator =
        parts.size() == 2 ? double(parts.at(1).toLongLong(&hasDenominator)) : 1;
    if (!text.endsWith(u's') || !hasNumerator || !hasDenominator || denominator <= 0)
        throw RigError(u"The timeline has the time \"%1\", which is none."_s.arg(text));
    return numerator / denominator;
}

void FcpxmlResources::read(const QXmlStreamReader &xml)
{
    if (xml.name() == u"format") {
        m_frameDurations.insert(attribute(xml, u"id"_s), seconds(xml, u"frameDuration"_s));
    } else if (xml.name() == u"asset") {
        const QUrl url(attribute(xml, u"src"_s), QUrl::StrictMode);
        if (!url.isLocalFile() || seconds(xml, u"start"_s) != 0)
            throw RigError(
                u"The timeline has an asset that is no local file from its beginning."_s);
        m_assets.insert(attribute(xml, u"id"_s), {url.toLocalFile(), seconds(xml, u"duration"_s)});
    }
}

double FcpxmlResources::framesPerSecond(const QXmlStreamReader &xml) const
{
    const double frameSeconds = m_frameDurations.value(attribute(xml, u"format"_s));
    if (!(frameSeconds > 0))
        throw RigError(u"The timeline states no frame rate."_s);
    return 1 / frameSeconds;
}

FcpxmlAsset FcpxmlResources::asset(const QXmlStreamReader &xml) const
{
    const auto asset = m_assets.constFind(attribute(xml, u"ref"_s));
    if (asset == m_assets.constEnd())
        throw RigError(u"The clip %1 has no asset."_s.arg(attribute(xml, u"name"_s)));
    return *asset;
}

void refuseXmlError(const QXmlStreamReader &xml)
{
    if (xml.hasError())
        throw RigError(u"The timeline is no XML: %1 (line %2)."_s.arg(xml.errorString())
                           .arg(xml.lineNumber()));
}

} // namespace vorn::rig
