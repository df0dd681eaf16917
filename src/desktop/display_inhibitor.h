// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <memory>

class QDBusPendingCallWatcher;

namespace vorn {

/// Keeps the displays from going dark for as long as it lives, by the session's screen saver
/// (org.freedesktop.ScreenSaver), which forgets it with the process. Without one it does nothing.
/// Context: the thread that makes it, which needs an event loop.
class DisplayInhibitor {
public:
    /// `reason` is what the system may show to the user.
    explicit DisplayInhibitor(const QString &reason);
    ~DisplayInhibitor();
    DisplayInhibitor(const DisplayInhibitor &) = delete;
    DisplayInhibitor &operator=(const DisplayInhibitor &) = delete;

private:
    /// Its reply names what is to be given back.
    std::unique_ptr<QDBusPendingCallWatcher> m_lock;
};

} // namespace vorn
