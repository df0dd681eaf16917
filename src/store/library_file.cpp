#include "store/library_file.h"

#include "base/atomic_file.h"
#include "base/files.h"
#include "library/record_json.h"

#include <QDateTime>
#include <QDir>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <limits>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr auto unreadablePrefix = "library.json.unreadable-"_L1;
constexpr qsizetype maximumUnreadableFiles = 3;

/// `text` of an object as it stands inside another document, without the line feed at its end.
QByteArray indented(QByteArray text, int levels)
{
    text.chop(1);
    // Inside texts a line feed is escaped: these are the line ends.
    return text.replace("\n", QByteArray("\n") + QByteArray(levels, '\t'));
}

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

QString takeKey(const VORNProject &project, const VORNTake &take)
{
    return project.id + u'\n' + take.id;
}

LibraryFile::EncodedTake encodedTake(const VORNTake &take)
{
    constexpr int levels = 4; // library, projects, project, takes
    return {take, indented(prettyJson(jsonFromRecord(take)), levels)};
}

} // namespace

LibraryFile::EncodedTakes LibraryFile::encodedTakes(const VORNLibrary &library)
{
    EncodedTakes encoded;
    for (const VORNProject &project : library.projects) {
        for (const VORNTake &take : project.takes)
            encoded.emplace(takeKey(project, take), encodedTake(take));
    }
    return encoded;
}

void LibraryFile::adopt(const EncodedTakes &encoded)
{
    m_encoded.insert(encoded);
}

QString LibraryFile::path() const
{
    return m_folder + u"/library.json"_s;
}

VORNLibrary LibraryFile::load()
{
    if (!somethingExistsAt(path()))
        return {};
    m_isUnreadable = true;
    const auto library = recordFromJson<VORNLibrary>(
        readFile(path(), std::numeric_limits<std::int64_t>::max()), u"library.json"_s);
    m_isUnreadable = false;
    return library;
}

std::optional<QString> LibraryFile::save(const VORNLibrary &library)
{
    createFolders(m_folder, FolderMode::ownerOnly);
    std::optional<QString> kept;
    if (m_isUnreadable)
        kept = keepUnreadable();
    writeFileAtomically(path(), encode(library), FileMode::ownerOnly);
    m_isUnreadable = false;
    return kept;
}

std::vector<QByteArray> LibraryFile::encode(const VORNLibrary &library)
{
    // The same text as prettyJson(jsonFromRecord(library)), put together from the texts of takes:
    // in projects and in the library the list sorts last.
    EncodedTakes encoded;
    encoded.reserve(m_encoded.size());
    std::vector<QByteArray> pieces;
    const Frame libraryFrame = frameOf(prettyJson(jsonFromRecord(VORNLibrary{})));
    pieces.push_back(libraryFrame.head);
    QByteArray separator = "\n\t\t";
    for (const VORNProject &project : library.projects) {
        const Frame frame =
            frameOf(indented(prettyJson(jsonFromRecord(VORNProject{.id = project.id,
                                                                   .name = project.name,
                                                                   .revision = project.revision,
                                                                   .takes = {}})),
                             2));
        pieces.push_back(separator + frame.head);
        separator = ",\n\t\t";
        QByteArray takeSeparator = "\n\t\t\t\t";
        for (const VORNTake &take : project.takes) {
            const QString key = takeKey(project, take);
            EncodedTake entry = m_encoded.take(key);
            if (entry.text.isEmpty() || entry.take != take)
                entry = encodedTake(take);
            pieces.push_back(takeSeparator);
            pieces.push_back(entry.text);
            encoded.emplace(key, std::move(entry)); // insert would copy every take
            takeSeparator = ",\n\t\t\t\t";
        }
        pieces.push_back(frame.tail);
    }
    pieces.push_back(libraryFrame.tail);
    m_encoded = std::move(encoded);
    return pieces;
}

QString LibraryFile::keepUnreadable() const
{
    // A second name for the same bytes: the old library stays in place until the new one replaces
    // it. What has no second name (a folder, a file system without links) is moved.
    const QByteArray from = nativePath(path());
    QString name;
    int failure = EEXIST;
    while (failure == EEXIST) { // until the next millisecond at most
        name = unreadablePrefix + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss-zzz"_s);
        const QByteArray to = nativePath(m_folder + u'/' + name);
        const bool isKept = ::link(from.constData(), to.constData()) == 0
                            || (errno != EEXIST
                                && ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(),
                                               RENAME_NOREPLACE)
                                       == 0);
        failure = isKept ? 0 : errno;
    }
    if (failure != 0)
        throw FileError(u"Cannot keep the unreadable"_s, path(), failure);

    QStringList files = QDir(m_folder).entryList({unreadablePrefix + u"*"_s},
                                                 QDir::Files | QDir::Hidden, QDir::Name);
    while (files.size() > maximumUnreadableFiles)
        QFile::remove(m_folder + u'/' + files.takeFirst());
    return name;
}

} // namespace vorn
