// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QProcess>

#include <cstdint>

namespace vorn {

/// What a process may use up. What goes beyond ends it, or fails in it.
struct ProcessBounds {
    std::int64_t memoryBytes = 0;
    std::int64_t processorSeconds = 0;
    std::int64_t fileBytes = 0; ///< of each file that it writes; 0: it can write none
};

/// A program that works on foreign bytes in our place, so that a hostile file costs that process
/// and not this one. It starts with an empty environment, bounds, no input and no way to more
/// rights, and ends with this object and with the thread that made it. Any thread, but one.
class ConfinedProcess {
public:
    ConfinedProcess(const QString &program, const QStringList &arguments,
                    const ProcessBounds &bounds);
    ~ConfinedProcess();
    ConfinedProcess(const ConfinedProcess &) = delete;
    ConfinedProcess &operator=(const ConfinedProcess &) = delete;

    /// What it has written since to its standard output. Waits for a twentieth of a second where
    /// that is nothing, so that the caller can see whether to stop.
    [[nodiscard]] QByteArray read();

    /// No more will come: it has ended and all of its output is read, or it is stuck.
    [[nodiscard]] bool isOver() const;
    /// It has ended as it should.
    [[nodiscard]] bool endedWell() const;

private:
    QProcess m_process;
    QElapsedTimer m_silence;
};

} // namespace vorn
