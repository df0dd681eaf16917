// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <chrono>
#include <latch>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vorn {

/// A thread with an event loop and one object, which is made, lives and ends there. Work reaches it
/// by posting only.
template <class Worker> class WorkerThread {
public:
    using Patience = std::optional<std::chrono::milliseconds>;

    /// Starts the thread and runs `make`, which returns a unique_ptr<Worker>, on it. A worker whose
    /// calls somebody else may hold up is waited for no longer than `patience` at the end.
    template <class Make>
    WorkerThread(const QString &name, Make make, Patience patience = {})
        : m_state(std::make_unique<State>()), m_patience(patience)
    {
        m_state->thread.setObjectName(name);
        m_state->inbox.moveToThread(&m_state->thread);
        m_state->thread.start();
        onThread([state = m_state.get(), make = std::move(make)] {
            state->worker = make();
            state->isMade.count_down();
        });
    }
    /// Waits for the work at hand, ends the worker and then its thread.
    ~WorkerThread()
    {
        onThread([state = m_state.get()] {
            state->worker.reset();
            state->thread.quit();
        });
        m_state->isMade.wait(); // what makes it may belong to the caller
        if (!m_patience)
            m_state->thread.wait();
        else if (!m_state->thread.wait(*m_patience))
            abandoned().push_back(m_state.release());
    }
    WorkerThread(const WorkerThread &) = delete;
    WorkerThread &operator=(const WorkerThread &) = delete;

    /// Runs `work(worker)` on the thread, after what was posted before.
    template <class Work> void post(Work work)
    {
        onThread([state = m_state.get(), work = std::move(work)] { work(*state->worker); });
    }

private:
    struct State {
        QThread thread;
        QObject inbox; ///< receives what is posted
        std::unique_ptr<Worker> worker;
        std::latch isMade{1};
    };

    /// Threads that end when they can, or with the process.
    static std::vector<State *> &abandoned()
    {
        static auto *const states = new std::vector<State *>;
        return *states;
    }

    template <class Work> void onThread(Work &&work)
    {
        QMetaObject::invokeMethod(&m_state->inbox, std::forward<Work>(work), Qt::QueuedConnection);
    }

    std::unique_ptr<State> m_state;
    Patience m_patience;
};

} // namespace vorn
