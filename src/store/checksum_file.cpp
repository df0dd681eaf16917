// SPDX-License-Identifier: Apache-2.0

#include "store/checksum_file.h"

#include "base/files.h"

#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// As it is found from `folder`: relative where it lies in or below it.
QString nameFrom(const QString &folder, const QString &path)
{
    const QString inside = folder.endsWith(u'/') ? folder : folder + u'/';
    if (!path.startsWith(inside))
        return path;
    const QString name = path.sliced(inside.size());
    // What reads the file would take the one for its own input, the other for an absolute path.
    return name == u'-' || name.startsWith(u'/') ? path : name;
}

/// GNU coreutils, "md5sum invocation": a backslash in front says that the name is escaped.
QByteArray checksumLine(const QString &digest, const QString &name)
{
    const QByteArray native = nativePath(name);
    QByteArray escaped = native;
    escaped.replace('\\', "\\\\").replace('\n', "\\n").replace('\r', "\\r");
    return (escaped == native ? "" : "\\") + digest.toLatin1() + "  " + escaped + '\n';
}

void requireNoRecording(const QString &path, const QList<VORNClip> &clips)
{
    for (const VORNClip &clip : clips) {
        std::error_code ignored; // what is not there is not the same
        if (std::filesystem::equivalent(nativePath(path).toStdString(),
                                        nativePath(localPathOf(clip)).toStdString(), ignored))
            throw FileError(u"%1 is a recording; choose another name."_s.arg(path));
    }
}

} // namespace

QByteArray checksumLines(const VORNTake &take, const QString &path, const CheckReport &report)
{
    const QList<VORNClip> clips = localClips(take);
    requireNoRecording(path, clips);
    QList<VORNClip> unknown;
    std::ranges::copy_if(clips, std::back_inserter(unknown),
                         [](const VORNClip &clip) { return knownDigest(clip).isEmpty(); });
    QHash<QString, QString> digests;
    readInTurn(take.id, unknown, report, [&](const VORNClip &clip, const ByteReport &onBytes) {
        digests[clip.id] = sha256OfFile(localPathOf(clip), onBytes);
    });
    QByteArray lines;
    for (const VORNClip &clip : clips) {
        const QString known = knownDigest(clip);
        lines += checksumLine(known.isEmpty() ? digests[clip.id] : known,
                              nameFrom(folderOf(path), localPathOf(clip)));
    }
    return lines;
}

} // namespace vorn
