#pragma once

#include "library/records.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace vorn {

/// "library.json" on the disk. Keeps the text of each take of the last save, so that a save encodes
/// only what changed since; the file is still written whole, flushed and put in place of the old.
class LibraryFile {
public:
    struct EncodedTake {
        VORNTake take;
        QByteArray text;
    };
    /// By project and take id.
    using EncodedTakes = QHash<QString, EncodedTake>;

    LibraryFile() = default;
    explicit LibraryFile(QString folder) : m_folder(std::move(folder)) {}

    /// The library on the disk; empty when there is no file. Throws FileError or JsonError, and
    /// then remembers that the file could not be read.
    [[nodiscard]] VORNLibrary load();

    /// Writes `library` whole and atomically. When load() had failed, the old bytes are kept
    /// beside first; then the name of the file that keeps them is returned. Throws FileError.
    std::optional<QString> save(const VORNLibrary &library);

    /// The texts of all takes. Pure, so that another thread can prepare a large save.
    [[nodiscard]] static EncodedTakes encodedTakes(const VORNLibrary &library);

    /// Takes over prepared texts. Outdated ones do no harm.
    void adopt(const EncodedTakes &encoded);

private:
    [[nodiscard]] QString path() const;
    [[nodiscard]] std::vector<QByteArray> encode(const VORNLibrary &library);
    [[nodiscard]] QString keepUnreadable() const;

    QString m_folder;
    bool m_isUnreadable = false;
    EncodedTakes m_encoded;
};

} // namespace vorn
