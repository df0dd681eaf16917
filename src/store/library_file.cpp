// SPDX-License-Identifier: Apache-2.0

#include "store/library_file.h"

#include "base/atomic_file.h"
#include "base/files.h"
#include "library/record_json.h"

#include <QDateTime>
#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr auto unreadablePrefix = "library.json.unreadable-"_L1;
constexpr qsizetype maximumUnreadableFiles = 3;

/// Splits an object whose last member is an empty list into what stands before and after its items.
struct Frame {
    QByteArray head;
    QByteArray tail;
};

Frame frameOf(const QByteArray &objectText)
{
    const qsizetype bracket = objectText.lastIndexOf('[') + 1;
    return {objectText.first(bracket), objectText.sliced(bracket)};
}

LibraryFile::EncodedTake encodedTake(const VORNTake &take)
{
    constexpr qsizetype level = 4; // library, projects, project, takes
    return {take, nestedJsonFromRecord(take, level)};
}

struct Place {
    QString file;
    bool isThere = false;
};

/// The file to which a link at `path` leads, whether it is there or not; `path` itself where it
/// leads in a circle or to what is no file. Throws FileError for what cannot be looked at.
Place placeOf(const QString &path)
{
    constexpr int maximumLinks = 40; // the system's own bound
    QString at = path;
    for (int links = 0; links <= maximumLinks; ++links) {
        const QByteArray native = nativePath(at);
        struct stat status = {};
        if (::lstat(native.constData(), &status) != 0) {
            if (errno == ENOENT || errno == ENOTDIR)
                return {at, false};
            if (errno == ELOOP)
                break;
            throw FileError(u"Cannot open"_s, path, errno);
        }
        if (S_ISREG(status.st_mode))
            return {at, true};
        if (!S_ISLNK(status.st_mode))
            break;
        std::error_code failure;
        const std::string bytes =
            std::filesystem::read_symlink(native.toStdString(), failure).string();
        if (failure)
            throw FileError(u"Cannot open"_s, path, failure.value());
        const QString text = QString::fromStdString(bytes);
        if (text.toStdString() != bytes)
            throw FileError(u"%1 leads to a name that is not UTF-8."_s.arg(path));
        // Not cleaned: ".." of a folder that is a link itself is the system's business.
        at = text.startsWith(u'/') ? text : folderOf(at) + u'/' + text;
    }
    return {path, true};
}

/// Absent where no folder is. Throws FileError for one that cannot be looked at.
std::optional<std::uint64_t> deviceOf(const QString &folder)
{
    struct stat status = {};
    if (::stat(nativePath(folder).constData(), &status) == 0)
        return status.st_dev;
    if (errno != ENOENT && errno != ENOTDIR)
        throw FileError(u"Cannot open"_s, folder, errno);
    return std::nullopt;
}

/// Whether both are names of one thing.
bool isSameFile(const QString &one, const QString &other)
{
    struct stat a = {};
    struct stat b = {};
    return ::lstat(nativePath(one).constData(), &a) == 0
           && ::lstat(nativePath(other).constData(), &b) == 0 && a.st_dev == b.st_dev
           && a.st_ino == b.st_ino;
}

/// The libraries that were kept in `folder`, oldest first.
QStringList unreadableFiles(const QString &folder)
{
    QStringList paths;
    for (const QString &name :
         QDir(folder).entryList({unreadablePrefix + u"[0-9]*-[0-9]*-[0-9]*"_s},
                                QDir::Files | QDir::Hidden | QDir::System, QDir::Name))
        paths << folder + u'/' + name;
    return paths;
}

/// Gives `file` a second name beside it, and returns that: the old library stays in place until the
/// new one replaces it. What can have no second name (a folder, or anything on a file system
/// without links) is moved.
QString keepUnreadable(const QString &file)
{
    const QString folder = folderOf(file);
    QStringList others = unreadableFiles(folder);
    for (const QString &other : others) {
        if (isSameFile(file, other)) // by a save that failed afterwards
            return other;
    }
    QString kept;
    do { // until the next millisecond at most
        kept = folder + u'/' + unreadablePrefix
               + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss-zzz"_s);
    } while (somethingExistsAt(kept));
    const QByteArray from = nativePath(file);
    const QByteArray to = nativePath(kept);
    if (::link(from.constData(), to.constData()) != 0) {
        const bool hasNoSecondName =
            errno == EPERM || errno == EMLINK || errno == ENOTSUP || errno == ENOSYS;
        if (!hasNoSecondName || ::rename(from.constData(), to.constData()) != 0)
            throw FileError(u"Cannot keep the unreadable"_s, file, errno);
    }
    // The one just made is none of them, whatever the clock says.
    while (others.size() >= maximumUnreadableFiles)
        QFile::remove(others.takeFirst());
    return kept;
}

} // namespace

LibraryFile::EncodedTakes LibraryFile::encodedTakes(const VORNLibrary &library,
                                                    const VORNLibrary &known)
{
    QHash<std::pair<QString, QString>, const VORNTake *> knownTakes;
    for (const VORNProject &project : known.projects) {
        for (const VORNTake &take : project.takes)
            knownTakes.insert({project.id, take.id}, &take);
    }
    EncodedTakes encoded;
    for (const VORNProject &project : library.projects) {
        for (const VORNTake &take : project.takes) {
            const VORNTake *same = knownTakes.value({project.id, take.id});
            if (!same || *same != take)
                encoded.emplace({project.id, take.id}, encodedTake(take));
        }
    }
    return encoded;
}

void LibraryFile::adopt(EncodedTakes encoded)
{
    m_encoded.swap(encoded);
    m_encoded.reserve(m_encoded.size() + encoded.size());
    for (auto former = encoded.begin(); former != encoded.end(); ++former) {
        if (!m_encoded.contains(former.key()))
            m_encoded.emplace(former.key(), std::move(former.value()));
    }
}

QString LibraryFile::path() const
{
    return m_folder + u"/library.json"_s;
}

VORNLibrary LibraryFile::load()
{
    m_known = Known::unreadable;
    const auto [file, isThere] = placeOf(path());
    m_device = deviceOf(folderOf(file));
    if (!isThere) {
        m_known = Known::nothing;
        if (file != path())
            throw FileError(u"%1 leads to %2, where nothing is."_s.arg(path(), file));
        return {};
    }
    const auto library = recordFromJson<VORNLibrary>(
        readFile(file, std::numeric_limits<std::int64_t>::max()), u"library.json"_s);
    m_known = Known::library;
    return library;
}

std::optional<QString> LibraryFile::save(const VORNLibrary &library)
{
    createFolders(m_folder, FolderMode::ownerOnly);
    const auto [file, isThere] = placeOf(path());
    const auto device = deviceOf(folderOf(file));
    const bool isSamePlace = !m_device || m_device == device;
    if (isThere && (m_known == Known::nothing || !isSamePlace))
        throw FileError(u"%1 was not there when VORN Desktop started, and is not replaced. Start "
                        "it again to work with that library."_s.arg(file));
    if (isThere && m_known == Known::unreadable) {
        const QString kept = keepUnreadable(file);
        m_kept = folderOf(file) == m_folder ? fileNameOf(kept) : kept;
    }
    try {
        writeFileAtomically(file, encode(library), FileMode::ownerOnly);
    } catch (const NotDurableError &) {
        wasSaved(device);
        throw;
    }
    wasSaved(device);
    return std::exchange(m_kept, std::nullopt);
}

void LibraryFile::removeAbandonedSaves() const
{
    removeAbandonedWrites(m_folder);
    try {
        removeAbandonedWrites(folderOf(placeOf(path()).file)); // elsewhere where it is a link
    } catch (const FileError &) { // NOLINT(bugprone-empty-catch): load() has told of it
    }
}

void LibraryFile::wasSaved(std::optional<std::uint64_t> device)
{
    m_known = Known::library;
    m_device = device;
}

std::vector<QByteArray> LibraryFile::encode(const VORNLibrary &library)
{
    // The same text as jsonFromRecord(library), put together from the texts of takes:
    // in projects and in the library the list sorts last.
    std::vector<QByteArray> pieces;
    const Frame libraryFrame = frameOf(jsonFromRecord(VORNLibrary{}));
    pieces.push_back(libraryFrame.head);
    QByteArray separator = "\n\t\t";
    for (const VORNProject &project : library.projects) {
        const Frame frame = frameOf(nestedJsonFromRecord(
            VORNProject{
                .id = project.id, .name = project.name, .revision = project.revision, .takes = {}},
            2));
        pieces.push_back(separator + frame.head);
        separator = ",\n\t\t";
        QByteArray takeSeparator = "\n\t\t\t\t";
        for (const VORNTake &take : project.takes) {
            EncodedTake &entry = m_encoded[{project.id, take.id}];
            if (entry.text.isEmpty() || entry.take != take)
                entry = encodedTake(take);
            pieces.push_back(takeSeparator);
            pieces.push_back(entry.text);
            takeSeparator = ",\n\t\t\t\t";
        }
        pieces.push_back(frame.tail);
    }
    pieces.push_back(libraryFrame.tail);
    return pieces;
}

} // namespace vorn
