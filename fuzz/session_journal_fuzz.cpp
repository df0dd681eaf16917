// SPDX-License-Identifier: Apache-2.0

// Any bytes as a session's journal: refused, or read so that writing loses nothing, and a write
// that was cut short costs no more than its line.

#include "base/json_text.h"
#include "check.h"
#include "director/session_journal.h"

using namespace Qt::StringLiterals;
using namespace vorn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto name = u"the journal"_s;
    SessionJournal journal;
    try {
        journal = sessionJournalFromText(inputBytes(data, size), name);
    } catch (const JsonError &) {
        return 0;
    }
    QByteArray written = journalLine(journal.head);
    for (const JournalEntry &entry : journal.entries)
        written += journalLine(entry);
    // A lone surrogate is written as another character, which may be one of another id.
    if (written.contains("\xEF\xBF\xBD"))
        return 0;
    check(sessionJournalFromText(written, name) == journal, "what is written reads back equal");
    if (journal.entries.empty())
        return 0;
    journal.entries.pop_back();
    written.chop(1);
    check(sessionJournalFromText(written, name) == journal, "a torn line costs that line only");
    return 0;
}
