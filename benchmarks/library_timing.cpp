// SPDX-License-Identifier: Apache-2.0

// Usage: library_timing FOLDER
// Loading and saving a large library, each beside plain reading or writing of the same bytes.

#include "base/files.h"
#include "large_samples.h"
#include "paired.h"
#include "store/library_file.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int projectCount = 20;
constexpr int takesInProject = 100;
constexpr int clipsInTake = 4;
constexpr int rounds = 9;

void writeAndFlush(const QString &path, const QByteArray &bytes)
{
    const FileDescriptor file(
        ::open(nativePath(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (::write(file.get(), bytes.constData(), std::size_t(bytes.size())) != bytes.size()
        || ::fsync(file.get()) != 0)
        throw std::runtime_error("Cannot write the yardstick's file.");
}

void measure(const QString &folder)
{
    VORNLibrary library = libraryOf(projectCount, takesInProject);
    LibraryFile(folder).save(library);
    const QString path = folder + u"/library.json"_s;
    const QByteArray bytes = readFile(path, 1 << 30);
    const QString size = u"%1 takes, %2 MB"_s.arg(projectCount * takesInProject)
                             .arg(double(bytes.size()) / 1e6, 0, 'f', 1);

    const auto read = [&] { return secondsOf([&] { (void)readFile(path, 1 << 30); }); };
    const auto write = [&] {
        return secondsOf([&] { writeAndFlush(folder + u"/yardstick"_s, bytes); });
    };
    printRow(
        u"load of %1"_s.arg(size),
        pairedTimes(
            rounds, [&] { return secondsOf([&] { (void)LibraryFile(folder).load(); }); }, read),
        u"<= 100 ms"_s);
    printRow(u"first save of %1"_s.arg(size),
             pairedTimes(
                 rounds,
                 [&] {
                     LibraryFile fresh(folder);
                     return secondsOf([&] { fresh.save(library); });
                 },
                 write),
             u"-"_s);

    LibraryFile file(folder);
    file.save(library);
    int change = 0;
    printRow(u"save after a change, %1"_s.arg(size),
             pairedTimes(
                 rounds,
                 [&] {
                     library.projects[3].takes[7].referenceCameraId =
                         u"camera-%1"_s.arg(++change % clipsInTake);
                     return secondsOf([&] { file.save(library); });
                 },
                 write),
             u"-"_s);
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    const QTemporaryDir folder(QString::fromLocal8Bit(arguments[1]) + u"/library-XXXXXX"_s);
    try {
        measure(folder.path());
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
