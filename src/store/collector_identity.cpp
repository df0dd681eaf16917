// SPDX-License-Identifier: Apache-2.0

#include "store/collector_identity.h"

#include "base/atomic_file.h"
#include "base/files.h"
#include "base/text_form.h"

#include <QUuid>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QString newIdentity()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

QString loadOrCreateCollectorID(const QString &supportFolder,
                                const std::function<void(const QString &sentence)> &complain)
{
    constexpr std::int64_t maximumBytes = 4096; // the identity needs 36
    const QString path = supportFolder + u"/collector-id.txt"_s;
    try {
        if (const auto known =
                canonicalUuid(QString::fromUtf8(readFile(path, maximumBytes)).trimmed()))
            return *known;
    } catch (const FileError &) { // NOLINT(bugprone-empty-catch): a first start, or nothing usable
    }
    QString fresh = newIdentity();
    try {
        createFolders(supportFolder, FolderMode::ownerOnly);
        writeFileAtomically(path, fresh.toUtf8(), FileMode::ownerOnly);
        return fresh;
    } catch (const NotDurableError &error) {
        complain(QString::fromUtf8(error.what()));
        return fresh;
    } catch (const FileError &) {
        complain(
            u"Could not persist this Mac's collector identity; a temporary identity will be used."_s);
        return newIdentity();
    }
}

} // namespace vorn
