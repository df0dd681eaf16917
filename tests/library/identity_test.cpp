// SPDX-License-Identifier: Apache-2.0

#include "library/identity_merge.h"
#include "library/manifest_import.h"
#include "support.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

VORNClip clip(const QString &id, const QString &cameraId)
{
    VORNClip clip;
    clip.id = id;
    clip.cameraId = cameraId;
    clip.sha256 = u"ab"_s;
    return clip;
}

VORNTake take(const QString &id, QList<VORNClip> clips)
{
    VORNTake take;
    take.id = id;
    take.clips = std::move(clips);
    return take;
}

/// Project "p": take "t" with clip "c" of camera "A", take "u" with clips "d" and "e". Project "q":
/// clips "e" and "f".
VORNLibrary sampleLibrary()
{
    return {{{.id = u"p"_s,
              .name = u"Night"_s,
              .revision = 2,
              .takes = {take(u"t"_s, {clip(u"c"_s, u"A"_s)}),
                        take(u"u"_s, {clip(u"d"_s, u"A"_s), clip(u"e"_s, u"B"_s)})}},
             {.id = u"q"_s,
              .name = u"Day"_s,
              .revision = 1,
              .takes = {take(u"v"_s, {clip(u"e"_s, u"A"_s), clip(u"f"_s, u"B"_s)})}}}};
}

SourceManifest manifest()
{
    SourceManifest manifest;
    manifest.projectId = u"p"_s;
    manifest.takeId = u"t"_s;
    manifest.referenceCameraId = u"A"_s;
    SourceClip source;
    source.cameraId = u"B"_s;
    source.path = u"../media/b.mov"_s;
    source.sha256 = u"cd"_s;
    manifest.clips = {source};
    return manifest;
}

} // namespace

class IdentityTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void refusesAClipThatIsKnownOtherwise_data()
    {
        QTest::addColumn<VORNClip>("incoming");
        QTest::addColumn<QString>("message");
        const auto conflict = u"Immutable clip ID c has conflicting metadata."_s;
        VORNClip known = clip(u"c"_s, u"A"_s);
        QTest::newRow("no id") << clip({}, u"A"_s)
                               << u"Clip identity, camera, or SHA-256 is missing."_s;
        QTest::newRow("no camera")
            << clip(u"x"_s, {}) << u"Clip identity, camera, or SHA-256 is missing."_s;
        known.sha256.clear();
        QTest::newRow("no digest") << known << u"Clip identity, camera, or SHA-256 is missing."_s;
        QTest::newRow("another project, and another take")
            << clip(u"e"_s, u"B"_s) << u"Immutable clip ID e appears in multiple projects."_s;
        QTest::newRow("another take")
            << clip(u"d"_s, u"B"_s) << u"Immutable clip ID d appears in multiple takes."_s;
        known.sha256 = u"ac"_s;
        QTest::newRow("other digest") << known << conflict;
        QTest::newRow("other camera") << clip(u"c"_s, u"B"_s) << conflict;
        known = clip(u"c"_s, u"A"_s);
        known.sizeBytes = 4;
        QTest::newRow("other size") << known << conflict;
        known = clip(u"c"_s, u"A"_s);
        known.deviceId = u"other"_s;
        QTest::newRow("other device") << known << conflict;
        QTest::newRow("a second clip of a camera")
            << clip(u"x"_s, u"A"_s) << u"Take t has more than one finalized clip for camera A."_s;
    }

    void refusesAClipThatIsKnownOtherwise()
    {
        QFETCH(const VORNClip, incoming);
        QFETCH(const QString, message);
        VORNLibrary library = sampleLibrary();
        VORNTake &target = library.projects[0].takes[0];
        target.clips.front().sizeBytes = 3;
        target.clips.front().deviceId = u"device"_s;
        ClipPlaces places(library);
        TakeMerge merge(target, u"p"_s, places);
        QCOMPARE(thrownText([&] { merge.mergeClip(incoming); }), message);
        QCOMPARE(std::move(merge).result(), target);
    }

    void refusesWhatTheSameMergeHasBrought()
    {
        ClipPlaces places({});
        TakeMerge merge(take(u"t"_s, {}), u"p"_s, places);
        merge.mergeClip(clip(u"x"_s, u"X"_s));
        QCOMPARE(thrownText([&] { merge.mergeClip(clip(u"y"_s, u"X"_s)); }),
                 u"Take t has more than one finalized clip for camera X."_s);
        TakeMerge other(take(u"u"_s, {}), u"p"_s, places);
        QCOMPARE(thrownText([&] { other.mergeClip(clip(u"x"_s, u"X"_s)); }),
                 u"Immutable clip ID x appears in multiple takes."_s);
    }

    void refreshesAClipButNeverForgetsItsFile()
    {
        VORNLibrary library = sampleLibrary();
        VORNTake &target = library.projects[0].takes[0];
        target.clips.front().localPath = u"/verified.mov"_s;
        target.clips.push_back(clip(u"g"_s, u"G"_s));
        ClipPlaces places(library);
        TakeMerge merge(target, u"p"_s, places);
        VORNClip again = clip(u"c"_s, u"A"_s);
        again.sha256 = u"AB"_s;
        again.localPath = u"/elsewhere.mov"_s;
        merge.mergeClip(again);
        again.anchors = {{1, 2, 1, 1}};
        merge.mergeClip(again);
        merge.mergeClip(clip(u"h"_s, u"H"_s));
        again.localPath = u"/verified.mov"_s;
        QCOMPARE(std::move(merge).result().clips,
                 (QList{clip(u"g"_s, u"G"_s), again, clip(u"h"_s, u"H"_s)}));
    }

    // Where the file was edited by hand: the clip that is merged stands for all of its id, and what
    // is not merged stays.
    void mendsOnlyWhatItMerges()
    {
        VORNClip other = clip(u"c"_s, u"B"_s);
        const VORNTake target =
            take(u"t"_s, {clip(u"x"_s, u"X"_s), clip(u"c"_s, u"A"_s), other, clip(u"x"_s, u"Y"_s)});
        ClipPlaces places({});
        TakeMerge merge(target, u"p"_s, places);
        merge.mergeClip(clip(u"c"_s, u"A"_s));
        QCOMPARE(std::move(merge).result().clips,
                 (QList{clip(u"x"_s, u"X"_s), clip(u"x"_s, u"Y"_s), clip(u"c"_s, u"A"_s)}));
    }

    void replacesAProjectAndSortsByName()
    {
        VORNLibrary library = sampleLibrary();
        mergeProject({.id = u"p"_s, .name = u"zebra"_s, .revision = {}, .takes = {}}, library);
        mergeProject({.id = u"r"_s, .name = u"morning"_s, .revision = {}, .takes = {}}, library);
        QStringList names;
        for (const VORNProject &project : library.projects)
            names << project.name;
        QCOMPARE(names, (QStringList{u"Day"_s, u"morning"_s, u"zebra"_s}));
    }

    void importsATake()
    {
        SourceManifest source = manifest();
        source.timelineFPS = u"29.97"_s;
        SourceClip &clip = source.clips.front();
        clip.anchorMeaning = u"meaning"_s;
        clip.mediaKind = u"video"_s;
        clip.timingSidecarPath = u"b.json"_s;
        clip.timingSidecarSHA256 = u"ef"_s;
        clip.deviceId = u"phone 2"_s;
        clip.deviceName = u"Ada's phone"_s;
        source.projectNameAtCapture = u"Then"_s;
        source.projectRevisionAtCapture = 5;
        const ImportedTake imported = importedTake(source, u"/x/y/m.json"_s, sampleLibrary());
        QCOMPARE(imported.clipCount, std::size_t{1});
        QCOMPARE(imported.project.takes.size(), std::size_t{2});
        const VORNTake &result = imported.project.takes.back(); // moved to the end
        QCOMPARE(result.id, u"t"_s);
        QCOMPARE(result.timelineFPS, u"29.97"_s);
        QCOMPARE(result.referenceCameraId, u"A"_s);
        QCOMPARE(result.projectNameAtCapture, u"Then"_s);
        QCOMPARE(result.projectRevisionAtCapture, 5);
        QCOMPARE(result.sourceManifestPath, u"/x/y/m.json"_s);
        VORNClip expected;
        expected.id = u"t::B"_s;
        expected.cameraId = u"B"_s;
        expected.fileName = u"b.mov"_s;
        expected.localPath = u"/x/media/b.mov"_s;
        expected.sha256 = u"cd"_s;
        expected.anchorMeaning = clip.anchorMeaning;
        expected.mediaKind = clip.mediaKind;
        expected.timingSidecarURL = clip.timingSidecarPath;
        expected.timingSidecarSHA256 = clip.timingSidecarSHA256;
        expected.deviceId = clip.deviceId;
        expected.deviceName = clip.deviceName;
        QCOMPARE(result.clips.back(), expected);

        // Once more, from a manifest that has moved: the same clip, and its file stays known.
        VORNLibrary library = sampleLibrary();
        mergeProject(imported.project, library);
        const ImportedTake again = importedTake(source, u"/moved/m.json"_s, library);
        QCOMPARE(again.project.takes.back().clips.back().localPath, u"/x/media/b.mov"_s);
    }

    void reconcilesTheProject_data()
    {
        using Revision = std::optional<std::int64_t>;
        QTest::addColumn<QString>("name"); // null: absent
        QTest::addColumn<Revision>("revision");
        QTest::addColumn<QString>("nameAfter"); // null: refused
        QTest::addColumn<Revision>("revisionAfter");
        const QString other = u"Other"_s;
        QTest::newRow("later revision renames") << other << Revision(3) << other << Revision(3);
        QTest::newRow("later revision, no name")
            << QString() << Revision(3) << u"p"_s << Revision(3);
        QTest::newRow("earlier revision is left alone")
            << other << Revision(1) << u"Night"_s << Revision(2);
        QTest::newRow("same revision, other name")
            << other << Revision(2) << QString() << Revision();
        QTest::newRow("no revision, other name") << other << Revision() << QString() << Revision();
        QTest::newRow("same name") << u"Night"_s << Revision() << u"Night"_s << Revision(2);
    }

    void reconcilesTheProject()
    {
        using Revision = std::optional<std::int64_t>;
        QFETCH(const QString, name);
        QFETCH(const Revision, revision);
        QFETCH(const QString, nameAfter);
        SourceManifest source = manifest();
        source.projectName = name.isNull() ? std::nullopt : std::optional(name);
        source.projectRevision = revision;
        if (nameAfter.isNull()) {
            QCOMPARE(thrownText([&] { (void)importedTake(source, u"/m.json"_s, sampleLibrary()); }),
                     u"Project ID p has conflicting names at the same revision."_s);
            return;
        }
        const ImportedTake imported = importedTake(source, u"/m.json"_s, sampleLibrary());
        QCOMPARE(imported.project.name, nameAfter);
        QTEST(imported.project.revision, "revisionAfter");
    }

    void anUnknownProjectIsNamedByItsIdIfNeedBe()
    {
        SourceManifest source = manifest();
        source.projectId = u"new"_s;
        QCOMPARE(importedTake(source, u"/m.json"_s, sampleLibrary()).project.name, u"new"_s);
    }

    void keepsTheStoredRateWhenTheManifestHasNone()
    {
        VORNTake stored = take(u"t"_s, {});
        stored.timelineFPS = u"25"_s;
        const VORNLibrary library{
            {{.id = u"p"_s, .name = u"Night"_s, .revision = 2, .takes = {stored}}}};
        QCOMPARE(importedTake(manifest(), u"/m.json"_s, library).project.takes.back().timelineFPS,
                 u"25"_s);
        SourceManifest later = manifest();
        later.schemaVersion = 2;
        QCOMPARE(thrownText([&] { (void)importedTake(later, u"/m.json"_s, library); }),
                 u"Unsupported source manifest version."_s);
    }
};

QTEST_GUILESS_MAIN(IdentityTest)
#include "identity_test.moc"
