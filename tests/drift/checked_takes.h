// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_samples.h"

#include <array>

namespace vorn {

/// A project of takes to be checked: "good", "faulty", and "long", which takes longer than any
/// test.
class CheckedTakes {
public:
    CheckedTakes()
    {
        QFile file(m_samples.movie(QStringLiteral("long.mov")));
        if (!file.open(QFile::WriteOnly) || !file.resize(qint64{1} << 40))
            qFatal("no room for a sparse file");
    }

    [[nodiscard]] VORNProject project() const
    {
        using namespace Qt::StringLiterals;
        VORNTake good = m_samples.take();
        good.id = u"good"_s;
        // As clocks are read: no anchor lies on the line itself.
        constexpr std::array readings{0.4, -1.3, 0.9, 2.2, -0.6, -2.4, 1.1, 0.2, -0.9};
        for (VORNClip &clip : good.clips)
            for (std::size_t i = 0; i < clip.anchors.size(); ++i)
                clip.anchors[i].referenceSeconds += readings[i % readings.size()] / 1000;

        VORNTake faulty = good;
        faulty.id = u"faulty"_s;
        faulty.timelineFPS = u"fast"_s;
        faulty.clips[0].sha256 = u"00"_s;
        faulty.clips[1].anchors[3].referenceSeconds -= 0.02;
        faulty.clips[2].localPath.reset();
        faulty.clips += faulty.clips[1];
        faulty.clips[3].id = u"other"_s;
        faulty.clips[3].cameraId =
            u"A name \u202E as long as it pleases somebody to give a camera, of "
            "which nobody sees the end in any window of any size"_s;
        faulty.clips[3].anchorMeaning.reset();
        faulty.clips[3].localPath = m_samples.movie(u"gone.mov"_s);

        VORNTake longer = good;
        longer.id = u"long"_s;
        longer.clips[0].localPath = m_samples.movie(u"long.mov"_s);
        return {.id = u"p1"_s, .name = u"Night"_s, .revision = 1, .takes = {good, faulty, longer}};
    }

private:
    ExportSamples m_samples;
};

} // namespace vorn
