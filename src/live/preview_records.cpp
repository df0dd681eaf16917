#include "live/preview_records.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// The persistent request modes: 4 is the wall's picture, 5 the selected one.
bool holdsPersistentModes(const std::set<std::int64_t> &modes)
{
    return modes.contains(4) && modes.contains(5);
}

} // namespace

bool PreviewCapabilities::advertisesH264() const
{
    return codecs.contains(u"h264"_s) && transports.contains(u"h264-avcc-tcp-v1"_s);
}

bool PreviewCapabilities::supportsPersistentJPEG() const
{
    return transports.contains(u"jpeg-tcp-v1"_s) && holdsPersistentModes(persistentModes);
}

bool PreviewTransportStatus::isAdvertised() const
{
    return codec || !modes.empty();
}

bool PreviewTransportStatus::supportsPersistentJPEG() const
{
    return codec && codec->compare(u"JPEG"_s, Qt::CaseInsensitive) == 0
           && holdsPersistentModes(modes);
}

} // namespace vorn
