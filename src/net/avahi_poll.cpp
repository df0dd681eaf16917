// SPDX-License-Identifier: Apache-2.0

#include "net/avahi_poll.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <avahi-common/timeval.h>
#include <avahi-common/watch.h>

#include <algorithm>
#include <cstdint>
#include <limits>

// Avahi only knows these names; what they are is for its host to say. Both are freed by
// deleteLater, since Avahi frees them in the middle of their own callbacks.

struct AvahiWatch : QObject {
    AvahiWatch(int fd, AvahiWatchCallback callback, void *userdata)
        : m_read(fd, QSocketNotifier::Read), m_write(fd, QSocketNotifier::Write)
    {
        const auto tell = [this, fd, callback, userdata](AvahiWatchEvent event) {
            m_happened = event;
            callback(this, fd, event, userdata);
            m_happened = AvahiWatchEvent(0);
        };
        // Errors and hang-ups count as readable: reading then tells.
        connect(&m_read, &QSocketNotifier::activated, this, [tell] { tell(AVAHI_WATCH_IN); });
        connect(&m_write, &QSocketNotifier::activated, this, [tell] { tell(AVAHI_WATCH_OUT); });
    }

    void watch(int events)
    {
        m_read.setEnabled((events & AVAHI_WATCH_IN) != 0);
        m_write.setEnabled((events & AVAHI_WATCH_OUT) != 0);
    }

    [[nodiscard]] AvahiWatchEvent happened() const { return m_happened; }

private:
    QSocketNotifier m_read;
    QSocketNotifier m_write;
    AvahiWatchEvent m_happened{};
};

struct AvahiTimeout : QTimer {
    AvahiTimeout(AvahiTimeoutCallback callback, void *userdata)
    {
        setSingleShot(true);
        setTimerType(Qt::PreciseTimer);
        callOnTimeout(this, [this, callback, userdata] { callback(this, userdata); });
    }

    void fireAt(const timeval *when)
    {
        stop();
        if (!when)
            return;
        // Up to the next millisecond: Avahi only sets the same time again when it wakes early.
        const std::int64_t ms = (-avahi_age(when) + 999) / 1000;
        start(int(std::clamp<std::int64_t>(ms, 0, std::numeric_limits<int>::max())));
    }
};

namespace vorn {

const AvahiPoll *avahiPoll()
{
    static const AvahiPoll poll{
        .userdata = nullptr,
        .watch_new =
            [](const AvahiPoll *, int fd, AvahiWatchEvent events, AvahiWatchCallback callback,
               void *userdata) {
                auto *watch = new AvahiWatch(fd, callback, userdata);
                watch->watch(events);
                return watch;
            },
        .watch_update = [](AvahiWatch *watch, AvahiWatchEvent events) { watch->watch(events); },
        .watch_get_events = [](AvahiWatch *watch) { return watch->happened(); },
        .watch_free =
            [](AvahiWatch *watch) {
                watch->watch(0);
                watch->deleteLater();
            },
        .timeout_new =
            [](const AvahiPoll *, const timeval *when, AvahiTimeoutCallback callback,
               void *userdata) {
                auto *timeout = new AvahiTimeout(callback, userdata);
                timeout->fireAt(when);
                return timeout;
            },
        .timeout_update = [](AvahiTimeout *timeout, const timeval *when) { timeout->fireAt(when); },
        .timeout_free =
            [](AvahiTimeout *timeout) {
                timeout->fireAt(nullptr);
                timeout->deleteLater();
            },
    };
    return &poll;
}

} // namespace vorn
