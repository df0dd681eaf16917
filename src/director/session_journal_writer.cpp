// SPDX-License-Identifier: Apache-2.0

#include "director/session_journal_writer.h"

#include "base/atomic_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace vorn {

SessionJournalWriter::SessionJournalWriter(const QString &folder, const JournalHead &head)
    : m_folder(folder), m_path(path(folder, head.sessionID)), m_waiting(journalLine(head))
{
}

QString SessionJournalWriter::path(const QString &folder, const QUuid &sessionID)
{
    return folder + u'/' + sessionID.toString(QUuid::WithoutBraces) + u".jsonl"_s;
}

void SessionJournalWriter::append(const std::vector<JournalEntry> &entries)
{
    m_thread.assertCurrent();
    for (const JournalEntry &entry : entries)
        m_waiting += journalLine(entry);
    std::optional<QString> problem;
    try {
        if (m_file.isOpen())
            write();
        else
            begin();
    } catch (const FileError &error) {
        problem = QString::fromUtf8(error.what());
    }
    Q_EMIT appended(entries.size(), problem);
}

void SessionJournalWriter::begin()
{
    createFolders(m_folder, FolderMode::ownerOnly);
    // It has its name when its lines are on the disk: one without a line is a damaged journal, and
    // no power cut may leave it.
    writeFileAtomically(m_path, m_waiting, FileMode::ownerOnly);
    m_file =
        FileDescriptor(::open(nativePath(m_path).constData(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_file.isOpen())
        throw FileError(u"Cannot write"_s, m_path, errno);
    // Tells whoever would delete it that the session runs.
    ::flock(m_file.get(), LOCK_EX | LOCK_NB);
    m_written = m_waiting.size();
    m_waiting.clear();
}

void SessionJournalWriter::write()
{
    // What a write that failed has left is the beginning of the same bytes.
    qsizetype done = 0;
    while (done < m_waiting.size()) {
        const ssize_t written = ::pwrite(m_file.get(), m_waiting.constData() + done,
                                         std::size_t(m_waiting.size() - done), m_written + done);
        if (written < 0 && errno != EINTR)
            throw FileError(u"Cannot write"_s, m_path, errno);
        done += written < 0 ? 0 : qsizetype(written);
    }
    if (::fdatasync(m_file.get()) != 0)
        throw FileError(u"Cannot write"_s, m_path, errno);
    m_written += done;
    m_waiting.clear();
}

} // namespace vorn
