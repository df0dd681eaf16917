// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QObject>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <memory>

class QDeadlineTimer;
class QLocalServer;
class QLocalSocket;

namespace vorn {

/// Sees to it that one VORN Desktop works on a library. The lock and the socket that a later start
/// meets it by lie beside the library, so that no difference in the starts' surroundings lets both
/// run; the lock is a held descriptor, which ends with the process however that ends.
/// Context: UI thread.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Outcome : std::uint8_t {
        first,      ///< the lock is held: nobody else works on this library
        unguarded,  ///< no lock can be had there, and nobody was met: sentence() says what it means
        handedOver, ///< another one works on it, and has been asked to raise its windows
        outOfReach, ///< another one works on it and does not answer, as sentence() says
        noFolder    ///< the folder is not there and cannot be made, as sentence() says
    };

    /// How many movies one start can hand over.
    static constexpr qsizetype mostMovies = 64;

    /// `folder` is the library's, and is made if need be. `patience` is how long another one may
    /// take to answer, and how long a connection may say nothing. `movies`, absolute paths, at most
    /// so many, are handed over to another one that is there.
    explicit SingleInstance(const QString &folder,
                            std::chrono::milliseconds patience = std::chrono::seconds(10),
                            const QStringList &movies = {});
    ~SingleInstance() override;

    [[nodiscard]] Outcome outcome() const { return m_outcome; }
    [[nodiscard]] const QString &sentence() const { return m_sentence; }

Q_SIGNALS:
    /// A later start asks for the windows.
    void raiseRequested();
    /// A later start of the same user brings movies: absolute paths, at most mostMovies.
    void moviesRequested(const QStringList &paths);

private:
    enum class Answer : std::uint8_t { nobody, none, heard };

    void openLock();
    void doWithoutLock(const FileError &reason);
    [[nodiscard]] bool isLocked();
    [[nodiscard]] Answer raiseOther(const QDeadlineTimer &deadline) const;
    [[nodiscard]] QString lockPath() const;
    [[nodiscard]] QString socketPath() const;
    void listen();
    void hear(QLocalSocket *client);
    /// Answers what a client has said so far; false while that is not all of it.
    [[nodiscard]] bool answer(QLocalSocket &client);

    std::chrono::milliseconds m_patience;
    QString m_folderPath;
    QByteArray m_message; ///< for another one
    Outcome m_outcome = Outcome::outOfReach;
    QString m_sentence;
    FileDescriptor m_folder;
    FileDescriptor m_lock;
    std::unique_ptr<QLocalServer> m_server; ///< ends first: takes its socket from the folder
};

} // namespace vorn
