// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QThread>

// Clang's thread-safety analysis, used for thread contexts instead of locks: a field that is
// VORN_OWNED_BY(m_ui) compiles only in code that has asserted m_ui. Other compilers ignore it.
#if defined(__clang__)
#define VORN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VORN_THREAD_ATTRIBUTE(x)
#endif
#define VORN_OWNED_BY(context) VORN_THREAD_ATTRIBUTE(guarded_by(context))
#define VORN_RUNS_ON(context) VORN_THREAD_ATTRIBUTE(requires_capability(context))

namespace vorn {

/// The thread on which an object's fields live. Made on the thread it names.
class VORN_THREAD_ATTRIBUTE(capability("thread context")) ThreadContext {
public:
    /// Debug builds stop here when called from another thread.
    void assertCurrent() const VORN_THREAD_ATTRIBUTE(assert_capability(this))
    {
        Q_ASSERT(QThread::currentThread() == m_thread);
    }

private:
    [[maybe_unused]] QThread *m_thread = QThread::currentThread();
};

} // namespace vorn
