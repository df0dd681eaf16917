// SPDX-License-Identifier: Apache-2.0

#include "preview/stream_worker.h"

#include <pthread.h>

#include <exception>
#include <utility>

namespace vorn {

StreamWorker::StreamWorker(Request request, Handlers handlers)
    : m_thread([this, request = std::move(request), handlers = std::move(handlers)] {
          ::pthread_setname_np(::pthread_self(), "preview-worker"); // for tools
          std::optional<Transport> transport;
          QString error;
          try {
              transport = VORNPreviewClient::receive(
                  request.camera, request.profile, request.prefersLegacy, m_stop, handlers.onFrame);
          } catch (const std::exception &failure) {
              error = QString::fromUtf8(failure.what());
          }
          handlers.onEnd(transport, std::move(error));
      })
{
}

StreamWorker::~StreamWorker()
{
    stop();
    m_thread.join();
}

} // namespace vorn
