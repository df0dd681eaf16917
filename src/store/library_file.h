// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace vorn {

/// "library.json" on the disk. Keeps the text of each take of the last save, so that a save encodes
/// only what changed since; the file is still written whole, flushed and put in place of the old.
/// Where it is a link, it stays one: the file that it leads to is read and replaced.
class LibraryFile {
public:
    struct EncodedTake {
        VORNTake take;
        QByteArray text;
    };
    /// By project and take id.
    using EncodedTakes = QHash<std::pair<QString, QString>, EncodedTake>;

    LibraryFile() = default;
    explicit LibraryFile(QString folder) : m_folder(std::move(folder)) {}

    /// The library on the disk; empty when there is no file. Throws FileError or JsonError, and
    /// then remembers that the file could not be read. A file that cannot be looked at is no
    /// absent one, nor is one on a disk that is not there, to which a link leads.
    [[nodiscard]] VORNLibrary load();

    /// Writes `library` whole and atomically. When load() had failed, the old bytes are kept
    /// beside first, once; then the first save that succeeds returns the name of the file that
    /// keeps them. Throws FileError, also where a library has appeared since load(), as by a late
    /// mount: that one is not replaced.
    std::optional<QString> save(const VORNLibrary &library);

    /// Removes what saves of killed processes have left. Only for who holds the folder's lock.
    void removeAbandonedSaves() const;

    /// The texts of all takes but those that `known` holds as well. Pure, so that another thread
    /// can prepare a large save.
    [[nodiscard]] static EncodedTakes encodedTakes(const VORNLibrary &library,
                                                   const VORNLibrary &known = {});

    /// Takes over prepared texts. Outdated ones do no harm.
    void adopt(EncodedTakes encoded);

private:
    enum class Known : std::uint8_t { nothing, unreadable, library };

    [[nodiscard]] QString path() const;
    [[nodiscard]] std::vector<QByteArray> encode(const VORNLibrary &library);
    void wasSaved(std::optional<std::uint64_t> device);

    QString m_folder;
    Known m_known = Known::library;        ///< what was there when we last looked or wrote
    std::optional<std::uint64_t> m_device; ///< of the folder that it was in
    std::optional<QString> m_kept;         ///< what the unreadable one is called now, until told
    EncodedTakes m_encoded; ///< also of takes that have moved to another project since
};

} // namespace vorn
