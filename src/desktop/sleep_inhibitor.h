// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <memory>

class QDBusPendingCallWatcher;

namespace vorn {

/// Keeps the computer from falling asleep for as long as it lives, by a lock of the login manager
/// (org.freedesktop.login1, Inhibit "sleep:idle"). Without a login manager it does nothing.
/// Context: the thread that makes it, which needs an event loop.
class SleepInhibitor {
public:
    /// `reason` is what the system may show to the user.
    explicit SleepInhibitor(const QString &reason);
    ~SleepInhibitor();
    SleepInhibitor(const SleepInhibitor &) = delete;
    SleepInhibitor &operator=(const SleepInhibitor &) = delete;

private:
    /// Its reply holds the lock: a file descriptor, given back when it closes.
    std::unique_ptr<QDBusPendingCallWatcher> m_lock;
};

} // namespace vorn
