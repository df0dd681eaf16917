// SPDX-License-Identifier: Apache-2.0

#include "base/confined_process.h"

#include <QProcessEnvironment>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// A disk that has to wake up takes ten seconds; a process that says nothing for longer is stuck.
constexpr int silenceLimitMs = 60'000;
/// How late a stop may be noticed.
constexpr int longestWaitMs = 50;

void limit(int resource, std::int64_t most)
{
    const rlimit bound{.rlim_cur = rlim_t(most), .rlim_max = rlim_t(most)};
    if (::setrlimit(resource, &bound) != 0)
        ::_exit(127);
}

/// In the child, before the program begins: only calls that are safe after a fork.
void confine(pid_t parent, const ProcessBounds &bounds)
{
    // Bound to the thread that started it, which waits for its end anyway.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) // who died before could not be noticed
        ::_exit(127);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limit(RLIMIT_AS, bounds.memoryBytes);
    limit(RLIMIT_CPU, bounds.processorSeconds);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, bounds.fileBytes);
}

} // namespace

ConfinedProcess::ConfinedProcess(const QString &program, const QStringList &arguments,
                                 const ProcessBounds &bounds)
{
    m_process.setProgram(program);
    m_process.setArguments(arguments);
    QProcessEnvironment surroundings;
    surroundings.insert(u"LC_ALL"_s, u"C"_s); // an empty one would be inherited
    m_process.setProcessEnvironment(surroundings);
    m_process.setStandardInputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.setChildProcessModifier([parent = ::getpid(), bounds] { confine(parent, bounds); });
    m_process.start(QProcess::ReadOnly);
    m_silence.start();
}

ConfinedProcess::~ConfinedProcess()
{
    m_process.kill();
    m_process.waitForFinished(-1);
}

QByteArray ConfinedProcess::read()
{
    if (m_process.bytesAvailable() == 0 && m_process.state() != QProcess::NotRunning)
        m_process.waitForReadyRead(longestWaitMs);
    const QByteArray bytes = m_process.readAllStandardOutput();
    if (!bytes.isEmpty())
        m_silence.restart();
    return bytes;
}

bool ConfinedProcess::isOver() const
{
    return m_process.bytesAvailable() == 0
           && (m_process.state() == QProcess::NotRunning || m_silence.hasExpired(silenceLimitMs));
}

bool ConfinedProcess::endedWell() const
{
    return m_process.state() == QProcess::NotRunning
           && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

} // namespace vorn
