// SPDX-License-Identifier: Apache-2.0

#include "rig/film/take.h"

#include "base/atomic_file.h"
#include "base/digest.h"
#include "base/json_text.h"
#include "rig/base/ffmpeg.h"
#include "rig/base/new_folder.h"
#include "rig/base/rig_error.h"
#include "rig/base/two_at_once.h"
#include "rig/film/movie.h"
#include "rig/film/take_documents.h"

namespace vorn::rig {

using namespace Qt::StringLiterals;

TakePlan makeTake(TakeOptions options, const QString &folder,
                  const std::function<void(const PhonePlan &)> &onMovie)
{
    if (!hasEncoder(u"libx264"_s))
        throw RigError(u"This ffmpeg has no H.264 encoder (libx264)."_s);
    options.hasHevcEncoder = options.hasHevcEncoder && hasEncoder(u"libx265"_s);
    TakePlan plan = planTake(options);
    QStringList names{u"manifest.json"_s, u"truth.json"_s};
    for (const PhonePlan &phone : plan.phones)
        names << phone.fileName << scratchSoundFileName(phone);
    NewFolder newFolder(folder, names);
    twoAtOnce(
        plan.phones.size(), [&](std::size_t index) { writeMovie(plan.phones[index], folder); },
        [&](std::size_t index) {
            if (onMovie)
                onMovie(plan.phones[index]);
        });
    writeFileAtomically(folder + u"/truth.json"_s, QJsonDocument(truthJson(plan)).toJson(),
                        FileMode::followUmask);
    if (plan.hasManifest) {
        std::vector<QString> digests;
        digests.reserve(plan.phones.size());
        for (const PhonePlan &phone : plan.phones)
            digests.push_back(sha256OfFile(folder + u'/' + phone.fileName));
        writeFileAtomically(folder + u"/manifest.json"_s,
                            QJsonDocument(manifestJson(plan, digests)).toJson(),
                            FileMode::followUmask);
    }
    newFolder.keep();
    return plan;
}

} // namespace vorn::rig
