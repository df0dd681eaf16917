// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/stop_signal.h"
#include "preview/preview_client.h"

#include <QString>

#include <functional>
#include <optional>
#include <thread>

namespace vorn {

/// Runs the blocking client once, on a thread of its own. The handlers are called on that thread,
/// and not after the end of this object. Context: the thread that made it.
class StreamWorker {
public:
    struct Request {
        VORNPreviewClient::Camera camera;
        VORNPreviewProfile profile = VORNPreviewProfile::wall;
        bool prefersLegacy = false;
    };
    struct Handlers {
        std::function<void(PreviewFrame)> onFrame;
        /// The last call. Without a transport the run has failed, for the reason that `error` says.
        std::function<void(std::optional<Transport> transport, QString error)> onEnd;
    };

    /// Throws std::system_error when the system has no thread or descriptor left.
    StreamWorker(Request request, Handlers handlers);
    /// Stops the run and waits for its end, which is no longer away than the decoding of a frame.
    ~StreamWorker();
    StreamWorker(const StreamWorker &) = delete;
    StreamWorker &operator=(const StreamWorker &) = delete;

    /// Wakes the run from whatever it waits for, and lets it end.
    void stop() noexcept { m_stop.request(); }

private:
    StopSignal m_stop;
    std::thread m_thread;
};

} // namespace vorn
