// SPDX-License-Identifier: Apache-2.0

#include "rig/base/two_at_once.h"

#include <array>
#include <future>
#include <mutex>

namespace vorn::rig {

void twoAtOnce(std::size_t count, const std::function<void(std::size_t)> &work,
               const std::function<void(std::size_t)> &done)
{
    std::mutex mutex; // guards next and done
    std::size_t next = 0;
    const auto some = [&] {
        while (true) {
            std::unique_lock lock(mutex);
            if (next >= count)
                return;
            const std::size_t index = next++;
            lock.unlock();
            try {
                work(index);
            } catch (...) {
                lock.lock();
                next = count; // the other worker need not go on
                throw;
            }
            lock.lock();
            if (done)
                done(index);
        }
    };
    std::array<std::future<void>, 2> workers;
    for (auto &worker : workers)
        worker = std::async(std::launch::async, some);
    for (const auto &worker : workers)
        worker.wait();
    for (auto &worker : workers)
        worker.get();
}

} // namespace vorn::rig
