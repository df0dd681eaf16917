// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QThreadPool>
#include <QtConcurrent>

#include <memory>
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

/// Lets go of `value` on the file-work pool: to give a large one back takes as long as to make it.
template <class Value> void releaseOffThread(Value value)
{
    fileWorkPool()->start([held = std::make_shared<Value>(std::move(value))] {});
}

/// A large value that threads share; whoever lets go of it last, it is given back on the pool.
template <class Value> [[nodiscard]] std::shared_ptr<const Value> sharedOffThread(Value value)
{
    return {new Value(std::move(value)),
            [](const Value *last) { releaseOffThread(std::unique_ptr<const Value>(last)); }};
}

} // namespace vorn
