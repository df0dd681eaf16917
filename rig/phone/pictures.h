// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/cast.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QSize>
#include <QThreadPool>

#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

/// What the phones' previews show: the scene (scene.h) as JPEG pictures. Drawing and encoding while
/// sending would cost a core, so a few seconds of pictures are made once, when they are first asked
/// for, and then repeated. All phones show the same moment at the same time.
///
/// The counter in a picture (counter.h) tells its place in the loop, from second 0. The plate
/// behind its clock tells it as a frame number. When it was sent stands in a comment segment
/// (COM, ISO/IEC 10918-1 B.2.4.5) right after the start of the image, as text:
/// "vorn-rig FRAME NANOSECONDS", the number of the frame since the rig began, and the monotonic
/// clock (CLOCK_MONOTONIC) just before the picture went into the socket.
namespace vorn::rig {

/// How a phone is held, and whether it turns its preview itself.
enum class PreviewHold {
    landscape, ///< a wide picture
    turned,    ///< held upright, wide picture: to be turned right by 90 degrees for display
    upright,   ///< held upright, and the picture is upright already
};

struct PictureFormat {
    QSize size; ///< of a wide picture; an upright one has the sides exchanged
    int fps = 0;

    bool operator==(const PictureFormat &) const = default;
};

/// The format of a text such as "1280x720@30"; absent when it is none, or larger than
/// 4096x4096@120.
[[nodiscard]] std::optional<PictureFormat> pictureFormatFromText(const QString &text);

/// The seconds after which the pictures repeat.
inline constexpr int loopSeconds = 4;

/// A picture as it goes over the wire: the JPEG of `rest` with the comment in front.
struct SentPicture {
    QByteArray head; ///< start of image and comment
    QByteArray rest; ///< what follows, shared and not copied

    [[nodiscard]] qsizetype size() const { return head.size() + rest.size(); }
};

/// The pictures of one phone in one format. They are made one after the other on the pool.
class PictureLoop : public QObject {
    Q_OBJECT
public:
    PictureLoop(int castIndex, PreviewHold hold, PictureFormat format, QThreadPool &pool);

    /// The picture of that frame, stamped with this moment; empty before the first is made. Until
    /// all are there, those that are take turns.
    [[nodiscard]] SentPicture picture(qint64 frame) const;

    [[nodiscard]] int wanted() const { return loopSeconds * m_format.fps; }
    [[nodiscard]] int made() const { return int(m_pictures.size()); }

private:
    void makeNext();

    struct Painter;
    std::shared_ptr<const Painter> m_painter;
    PictureFormat m_format;
    QThreadPool &m_pool;
    std::vector<QByteArray> m_pictures;
};

/// All pictures of the rig, and its clock.
class PictureStore {
public:
    PictureStore();
    ~PictureStore();
    PictureStore(const PictureStore &) = delete;
    PictureStore &operator=(const PictureStore &) = delete;

    /// The pictures for one kind of preview, which are begun with the first call.
    [[nodiscard]] PictureLoop &loop(int castIndex, PreviewHold hold, const PictureFormat &format);

    /// Since the rig began.
    [[nodiscard]] double seconds() const { return double(m_clock.nsecsElapsed()) / 1e9; }

    [[nodiscard]] int wanted() const;
    [[nodiscard]] int made() const;

private:
    using Key = std::tuple<int, PreviewHold, int, int, int>;
    QElapsedTimer m_clock;
    std::map<Key, std::unique_ptr<PictureLoop>> m_loops;
    QThreadPool m_pool; ///< ends first: its work posts to the loops
};

} // namespace vorn::rig
