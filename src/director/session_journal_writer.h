// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "base/thread_context.h"
#include "director/session_journal.h"

#include <QObject>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

/// Keeps a session's journal on the disk, in a file of its own that bears the session's id and is
/// only ever appended to, and locked. Makes folder and file with the first entries. What could not
/// be written is tried again with what comes next. Context: a thread of its own, where it is made:
/// neither a disk that hangs nor the file work of others may hold up the show or the journal.
class SessionJournalWriter : public QObject {
    Q_OBJECT
public:
    /// `folder` need not exist.
    SessionJournalWriter(const QString &folder, const JournalHead &head);

    void append(const std::vector<JournalEntry> &entries);

    /// The file of a session.
    [[nodiscard]] static QString path(const QString &folder, const QUuid &sessionID);

Q_SIGNALS:
    /// So many entries are on the disk, with all before them, or a sentence tells why not.
    void appended(std::size_t entries, const std::optional<QString> &problem);

private:
    void begin() VORN_RUNS_ON(m_thread);
    void write() VORN_RUNS_ON(m_thread);

    ThreadContext m_thread;
    const QString m_folder;
    const QString m_path;
    FileDescriptor m_file VORN_OWNED_BY(m_thread);
    std::int64_t m_written VORN_OWNED_BY(m_thread) = 0; ///< bytes that are on the disk
    QByteArray m_waiting VORN_OWNED_BY(m_thread);       ///< what comes behind them
};

} // namespace vorn
