#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <memory>
#include <utility>

namespace vorn {

/// A thread with an event loop and one object, which is made, lives and ends there. Work reaches it
/// by posting only.
template <class Worker> class WorkerThread {
public:
    /// Starts the thread and runs `make`, which returns a unique_ptr<Worker>, on it.
    template <class Make> WorkerThread(const QString &name, Make make)
    {
        m_thread.setObjectName(name);
        m_inbox.moveToThread(&m_thread);
        m_thread.start();
        onThread([this, make = std::move(make)] { m_worker = make(); });
    }
    /// Waits for the work at hand, ends the worker and then its thread.
    ~WorkerThread()
    {
        onThread([this] {
            m_worker.reset();
            m_thread.quit();
        });
        m_thread.wait();
    }
    WorkerThread(const WorkerThread &) = delete;
    WorkerThread &operator=(const WorkerThread &) = delete;

    /// Runs `work(worker)` on the thread, after what was posted before.
    template <class Work> void post(Work work)
    {
        onThread([this, work = std::move(work)] { work(*m_worker); });
    }

private:
    template <class Work> void onThread(Work &&work)
    {
        QMetaObject::invokeMethod(&m_inbox, std::forward<Work>(work), Qt::QueuedConnection);
    }

    QThread m_thread;
    QObject m_inbox; ///< receives what is posted
    std::unique_ptr<Worker> m_worker;
};

} // namespace vorn
