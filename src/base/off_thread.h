#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QThreadPool>
#include <QtConcurrent>

#include <type_traits>
#include <utility>

namespace vorn {

/// The threads for file work: hashing, probing, writing. Few, since one disk serves them all. Ends
/// with the process, after the jobs that run.
[[nodiscard]] inline QThreadPool *fileWorkPool()
{
    static QThreadPool pool;
    return &pool;
}

/// Runs `work` on the file-work pool; the awaiting coroutine goes on, on its own thread, with the
/// result or with the exception that `work` threw.
template <class Work> QCoro::Task<std::invoke_result_t<Work>> offThread(Work work)
{
    // QtConcurrent wraps what is no QException, and the wrapper's text is "std::exception".
    std::exception_ptr failure;
    try {
        QFuture<std::invoke_result_t<Work>> future =
            QtConcurrent::run(fileWorkPool(), std::move(work));
        co_return co_await future;
    } catch (const QUnhandledException &wrapped) {
        failure = wrapped.exception();
    }
    std::rethrow_exception(failure);
}

} // namespace vorn
