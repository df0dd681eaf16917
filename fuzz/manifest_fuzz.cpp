// SPDX-License-Identifier: Apache-2.0

// Any bytes as a source manifest, imported into an empty library and into one that knows some of
// the identities already.

#include "base/files.h"
#include "check.h"
#include "library/identity_merge.h"
#include "library/manifest_import.h"
#include "library/record_json.h"

#include <set>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

const auto manifestPath = u"/footage/day 1/manifest.json"_s;

/// Projects "p1" and "p2"; take "t1" of "p1" holds clips "a" and "b" of cameras "A" and "B".
VORNLibrary smallLibrary()
{
    const auto clip = [](const QString &id, const QString &camera) {
        VORNClip made;
        made.id = id;
        made.cameraId = camera;
        made.fileName = id + u".mov"_s;
        made.localPath = u"/footage/"_s + made.fileName;
        made.sha256 = u"ab"_s;
        return made;
    };
    VORNTake first;
    first.id = u"t1"_s;
    first.referenceCameraId = u"A"_s;
    first.clips = {clip(u"a"_s, u"A"_s), clip(u"b"_s, u"B"_s)};
    VORNTake second;
    second.id = u"t2"_s;
    second.clips = {clip(u"c"_s, u"A"_s)};
    second.clips.front().localPath.reset();
    VORNTake other;
    other.id = u"t1"_s;
    other.clips = {clip(u"d"_s, u"A"_s)};
    return {.projects = {{.id = u"p1"_s, .name = u"One"_s, .revision = 2, .takes = {first, second}},
                         {.id = u"p2"_s, .name = u"Two"_s, .revision = {}, .takes = {other}}}};
}

void checkTake(const VORNTake &take)
{
    std::set<QString> cameras;
    for (const VORNClip &clip : take.clips) {
        check(cameras.insert(clip.cameraId).second, "a take holds one clip for each camera");
        check(!clip.fileName.contains(u'/'), "a file name is bare");
        if (!clip.localPath)
            continue;
        check(clip.localPath->startsWith(u'/'), "a local path is absolute");
        check(resolvedPath({}, *clip.localPath) == *clip.localPath, "a local path is clean");
    }
}

void checkLibrary(const VORNLibrary &library)
{
    std::set<QString> projects;
    std::set<QString> clips;
    for (const VORNProject &project : library.projects) {
        check(projects.insert(project.id).second, "a project stands once in the library");
        std::set<QString> takes;
        for (const VORNTake &take : project.takes) {
            check(takes.insert(take.id).second, "a take stands once in its project");
            for (const VORNClip &clip : take.clips)
                check(clips.insert(clip.id).second, "a clip id stands once in the library");
        }
    }
}

/// Every clip that was there is there still, with the local file it had.
void checkNothingForgotten(const VORNLibrary &before, const VORNLibrary &after)
{
    for (const VORNProject &project : before.projects) {
        for (const VORNTake &take : project.takes) {
            const VORNProject *keptProject = findById(after.projects, project.id);
            const VORNTake *kept = keptProject ? findById(keptProject->takes, take.id) : nullptr;
            check(kept, "a take stays");
            for (const VORNClip &clip : take.clips) {
                const VORNClip *keptClip = findById(kept->clips, clip.id);
                check(keptClip && keptClip->sha256.compare(clip.sha256, Qt::CaseInsensitive) == 0,
                      "a clip keeps its content");
                check(!clip.localPath || keptClip->localPath == clip.localPath,
                      "a verified local file is never forgotten");
            }
        }
    }
}

void importInto(const VORNLibrary &library, const SourceManifest &manifest)
{
    ImportedTake imported;
    try {
        imported = importedTake(manifest, manifestPath, library);
    } catch (const IdentityError &) {
        return;
    }
    const VORNTake *take = findById(imported.project.takes, imported.takeId);
    check(take, "the imported take stands in its project");
    checkTake(*take);
    VORNLibrary merged = library;
    mergeProject(imported.project, merged);
    checkLibrary(merged);
    checkNothingForgotten(library, merged);
    check(importedTake(manifest, manifestPath, merged).project == imported.project,
          "importing again changes nothing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    SourceManifest manifest;
    try {
        manifest = recordFromJson<SourceManifest>(inputBytes(data, size), u"manifest.json"_s);
    } catch (const JsonError &) {
        return 0;
    }
    check(recordFromJson<SourceManifest>(jsonFromRecord(manifest), u"manifest.json"_s) == manifest,
          "what is written reads back equal");
    importInto({}, manifest);
    importInto(smallLibrary(), manifest);
    return 0;
}
