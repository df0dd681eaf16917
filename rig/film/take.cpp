// SPDX-License-Identifier: Apache-2.0

#include "rig/film/take.h"

#include "base/atomic_file.h"
#include "base/digest.h"
#include "base/files.h"
#include "base/json_text.h"
#include "rig/base/ffmpeg.h"
#include "rig/base/rig_error.h"
#include "rig/film/movie.h"
#include "rig/film/take_documents.h"

#include <QDir>
#include <QFile>

#include <array>
#include <future>
#include <mutex>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

// Drawing and encoding keep a core busy each, so two movies fill two cores and more would wait.
constexpr int parallelMovies = 2;

// The folder of a take in the making. Unless kept, it ends as it began: away, or empty.
class TakeFolder {
public:
    TakeFolder(const QString &path, const TakePlan &plan) : m_folder(path)
    {
        m_isOurs = !somethingExistsAt(path);
        if (m_isOurs)
            createFolder(path);
        else if (!m_folder.exists()
                 || !m_folder.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System
                                      | QDir::NoDotAndDotDot))
            throw RigError(u"%1 is not an empty folder."_s.arg(path));
        for (const PhonePlan &phone : plan.phones)
            m_names << phone.fileName << scratchSoundFileName(phone);
        m_names << u"manifest.json"_s << u"truth.json"_s;
    }
    TakeFolder(const TakeFolder &) = delete;
    TakeFolder &operator=(const TakeFolder &) = delete;
    ~TakeFolder()
    {
        if (m_isKept)
            return;
        for (const QString &name : m_names)
            m_folder.remove(name);
        if (m_isOurs)
            QDir().rmdir(m_folder.path());
    }

    void keep() { m_isKept = true; }

private:
    QDir m_folder;
    QStringList m_names;
    bool m_isOurs = false;
    bool m_isKept = false;
};

void writeMovies(const TakePlan &plan, const QString &folder,
                 const std::function<void(const PhonePlan &)> &onMovie)
{
    std::mutex mutex; // guards next and onMovie
    std::size_t next = 0;
    const auto work = [&] {
        while (true) {
            std::unique_lock lock(mutex);
            if (next == plan.phones.size())
                return;
            const PhonePlan &phone = plan.phones[next++];
            lock.unlock();
            try {
                writeMovie(phone, folder);
            } catch (...) {
                lock.lock();
                next = plan.phones.size(); // the other worker need not go on
                throw;
            }
            lock.lock();
            if (onMovie)
                onMovie(phone);
        }
    };
    std::array<std::future<void>, parallelMovies> workers;
    for (auto &worker : workers)
        worker = std::async(std::launch::async, work);
    for (const auto &worker : workers)
        worker.wait();
    for (auto &worker : workers)
        worker.get();
}

} // namespace

TakePlan makeTake(TakeOptions options, const QString &folder,
                  const std::function<void(const PhonePlan &)> &onMovie)
{
    if (!hasEncoder(u"libx264"_s))
        throw RigError(u"This ffmpeg has no H.264 encoder (libx264)."_s);
    options.hasHevcEncoder = options.hasHevcEncoder && hasEncoder(u"libx265"_s);
    TakePlan plan = planTake(options);
    TakeFolder takeFolder(folder, plan);
    writeMovies(plan, folder, onMovie);
    std::vector<QString> digests;
    digests.reserve(plan.phones.size());
    for (const PhonePlan &phone : plan.phones)
        digests.push_back(sha256OfFile(folder + u'/' + phone.fileName));
    writeFileAtomically(folder + u"/truth.json"_s, prettyJson(truthJson(plan)),
                        FileMode::followUmask);
    writeFileAtomically(folder + u"/manifest.json"_s, prettyJson(manifestJson(plan, digests)),
                        FileMode::followUmask);
    takeFolder.keep();
    return plan;
}

} // namespace vorn::rig
