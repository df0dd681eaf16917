// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "base/stop_signal.h"
#include "live/ports.h"
#include "preview/preview_profile.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>

namespace vorn {

/// Why a camera gave no frame. `what()` is the sentence the user sees, in UTF-8.
class VORNPreviewError : public std::exception {
public:
    enum class Case { invalidHost, connectionFailed, transportFailed, invalidLength, invalidJPEG };

    explicit VORNPreviewError(Case kind) noexcept : m_case(kind) {}

    [[nodiscard]] Case kind() const noexcept { return m_case; }
    [[nodiscard]] const char *what() const noexcept override;

private:
    Case m_case;
};

/// One decoded preview frame.
struct PreviewFrame {
    QImage image; ///< Format_RGB32
    QSize size;   ///< of the picture; the image is a smaller one where no more is shown
    Transport transport = Transport::persistent;
    MonotonicClock::time_point receivedAt; ///< when its last byte had come
    QByteArray comment;                    ///< the first comment in the JPEG, as it was sent
};

/// Reads preview frames from one camera over TCP: one byte is sent, the mode; the camera answers
/// with frames, each a length of four bytes, most significant first, and a JPEG of that length. The
/// functions keep nothing, block the calling thread, and throw VORNPreviewError.
namespace VORNPreviewClient {

inline constexpr std::uint16_t port = previewPort;
/// Bounds what a camera can make us hold.
inline constexpr std::uint32_t maximumFrameBytes = 0x200000;
/// For how long after a frame over the legacy transport the persistent one is not tried.
inline constexpr std::chrono::seconds legacyProbeInterval{30};
inline constexpr std::size_t lengthPrefixBytes = 4;

struct Limits {
    /// How long a connection may take to come about, and then to give its next bytes.
    std::chrono::milliseconds persistentWait{2500};
    std::chrono::milliseconds legacyWait{1500};
    /// How long a frame may take in all. Without it a camera that gives a byte every two seconds
    /// would keep its stream busy for days.
    std::chrono::milliseconds wholeFrame{10'000};
};

struct Camera {
    QString host; ///< dotted IPv4; names are not resolved
    std::uint16_t serverPort = port;
    Limits limits = {};
    /// How many pixels wide its pictures are drawn: they are decoded no larger than that needs.
    /// In full at 0, or where nobody tells.
    std::shared_ptr<const std::atomic<int>> shownWidth = {};
};

/// Receives frames until `stop` is requested, which ends every wait at once. Without
/// `preferLegacy` a stream is tried first. One that has given a frame ends with its error; one
/// that has not is replaced by a single frame over the legacy transport. Gives the transport that
/// was used. A wait that the stop ended shows as an error.
Transport receive(const Camera &camera, VORNPreviewProfile profile, bool preferLegacy,
                  const StopSignal &stop, const std::function<void(PreviewFrame)> &onFrame);

/// One frame as it came, after the checks that `receive` makes.
[[nodiscard]] QByteArray fetchJPEG(const QString &host, std::uint16_t serverPort, std::byte mode,
                                   std::chrono::milliseconds timeout = Limits{}.legacyWait);

/// The length that stands before a frame, 1 to maximumFrameBytes.
/// Throws VORNPreviewError::Case::invalidLength.
[[nodiscard]] std::uint32_t frameLength(std::span<const std::byte, lengthPrefixBytes> prefix);

/// Whether the bytes begin and end as those of a JPEG.
[[nodiscard]] bool isJPEG(std::span<const std::byte> data) noexcept;

} // namespace VORNPreviewClient
} // namespace vorn
