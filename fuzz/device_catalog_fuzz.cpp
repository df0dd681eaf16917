// SPDX-License-Identifier: Apache-2.0

// Any bytes as a phone's catalog: decoded, judged at the gate, and merged into an empty library and
// into one that knows some of the identities already.

#include "check.h"
#include "library/catalog_merge.h"
#include "library/identity_merge.h"
#include "library/record_json.h"
#include "transfer/catalog_gate.h"

#include <map>
#include <set>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

const QUrl catalogURL(u"https://cam-1.local:8443/vorn/v1/catalog"_s);

QString uuid(int n)
{
    return u"00000000-0000-4000-8000-%1"_s.arg(n, 12, 10, QChar(u'0'));
}

/// Project 1 with take "t1" (clips 10 of camera "A", on this computer, and 11 of "B") and take "t2"
/// (clip 12); the collection of device 100 with take "t1" (clip 13).
VORNLibrary knownLibrary()
{
    const auto clip = [](int n, const QString &camera) {
        VORNClip made;
        made.id = uuid(n);
        made.cameraId = camera;
        made.sha256 = QString(64, u'a');
        made.deviceId = uuid(100);
        return made;
    };
    VORNTake first;
    first.id = u"t1"_s;
    first.createdAt = u"2026"_s;
    first.clips = {clip(10, u"A"_s), clip(11, u"B"_s)};
    first.clips.front().localPath = u"/m/10.mov"_s;
    VORNTake second;
    second.id = u"t2"_s;
    second.timelineFPS = u"25"_s;
    second.clips = {clip(12, u"A"_s)};
    VORNTake loose;
    loose.id = u"t1"_s;
    loose.clips = {clip(13, u"A"_s)};
    return {
        .projects = {
            {.id = uuid(1), .name = u"Night"_s, .revision = 2, .takes = {first, second}},
            {.id = u"unassigned-"_s + uuid(100), .name = u"U"_s, .revision = 1, .takes = {loose}}}};
}

template <class Record> void checkText(const Record &record)
{
    check(recordFromJson<Record>(jsonFromRecord(record), u"f"_s) == record,
          "what is written reads back equal");
}

using ClipFiles = std::map<QString, std::optional<QString>>;

/// Where each clip's file is. The library keeps the rules of identity.
ClipFiles clipFiles(const VORNLibrary &library)
{
    ClipFiles files;
    std::set<QString> projects;
    for (const VORNProject &project : library.projects) {
        check(projects.insert(project.id).second, "a project stands once");
        std::set<QString> takes;
        for (const VORNTake &take : project.takes) {
            check(takes.insert(take.id).second, "a take stands once in its project");
            std::set<QString> cameras;
            for (const VORNClip &clip : take.clips) {
                check(cameras.insert(clip.cameraId).second, "a camera has one clip in a take");
                check(files.try_emplace(clip.id, clip.localPath).second, "a clip stands once");
            }
        }
    }
    return files;
}

enum class Gate { passed, refused };

void mergeInto(VORNLibrary (*makeLibrary)(), const DeviceCatalog &catalog, Gate gate)
{
    const VORNLibrary library = makeLibrary();
    VORNLibrary merged;
    try {
        merged = mergeCatalog(catalog, catalogURL, library);
    } catch (const IdentityError &) {
        check(library == makeLibrary(), "a refusal changes nothing");
        return;
    }
    const ClipFiles files = clipFiles(merged);
    for (const auto &[id, path] : clipFiles(library)) {
        const auto found = files.find(id);
        check(found != files.end() && found->second == path, "no clip and no file is forgotten");
    }
    if (gate == Gate::refused)
        return;
    check(mergeCatalog(catalog, catalogURL, merged) == merged, "once more changes nothing");
    checkText(merged);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    DeviceCatalog catalog;
    try {
        catalog = recordFromJson<DeviceCatalog>(inputBytes(data, size), u"catalog"_s);
    } catch (const JsonError &) {
        return 0;
    }
    checkText(catalog);
    Gate gate = Gate::passed;
    try {
        TransferProtocol::validateAuthenticatedCatalog(catalog, catalogURL);
    } catch (const TransferProtocolError &) {
        gate = Gate::refused;
    }
    mergeInto([] { return VORNLibrary{}; }, catalog, gate);
    mergeInto(knownLibrary, catalog, gate);
    return 0;
}
