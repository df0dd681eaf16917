// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/pictures.h"

#include "rig/film/scene.h"

#include <QBuffer>
#include <QImage>
#include <QRegularExpression>
#include <QTransform>
#include <QtEndian>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr int jpegQuality = 80;
constexpr qsizetype startOfImageBytes = 2;

QByteArray comment(qint64 frame)
{
    const qint64 now = std::chrono::steady_clock::now().time_since_epoch().count();
    const QByteArray text = "vorn-rig " + QByteArray::number(frame) + ' ' + QByteArray::number(now);
    QByteArray segment("\xFF\xFE\0\0", 4);
    qToBigEndian(quint16(text.size() + 2), segment.data() + 2);
    return segment + text;
}

} // namespace

std::optional<PictureFormat> pictureFormatFromText(const QString &text)
{
    static const QRegularExpression form(u"^([0-9]{1,4})x([0-9]{1,4})@([0-9]{1,3})$"_s);
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const PictureFormat format{{match.captured(1).toInt(), match.captured(2).toInt()},
                               match.captured(3).toInt()};
    // Below 64 pixels the counter has no room.
    if (std::min(format.size.width(), format.size.height()) < 64
        || std::max(format.size.width(), format.size.height()) > 4096 || format.fps < 1
        || format.fps > 120)
        return std::nullopt;
    return format;
}

struct PictureLoop::Painter {
    Scene scene;
    PreviewHold hold;
    int fps;

    // The JPEG of one frame. On the pool's thread.
    [[nodiscard]] QByteArray paint(int frame) const
    {
        // The phones share the machine with the program that they test.
        ::setpriority(PRIO_PROCESS, id_t(::gettid()), 4);
        QImage picture =
            scene.picture(double(frame) / fps, u"#%1"_s.arg(frame, 3, 10, QChar(u'0')));
        if (hold == PreviewHold::turned)
            picture = picture.transformed(QTransform().rotate(-90));
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        buffer.open(QIODevice::WriteOnly);
        picture.save(&buffer, "JPG", jpegQuality);
        return jpeg;
    }
};

PictureLoop::PictureLoop(int castIndex, PreviewHold hold, PictureFormat format, QThreadPool &pool)
    : m_painter(new Painter{
          Scene(castIndex, hold == PreviewHold::landscape ? format.size : format.size.transposed()),
          hold, format.fps}),
      m_format(format),
      m_pool(pool)
{
    makeNext();
}

void PictureLoop::makeNext()
{
    m_pool.start([this, painter = m_painter, frame = made()] {
        const QByteArray jpeg = painter->paint(frame);
        QMetaObject::invokeMethod(this, [this, jpeg] {
            m_pictures.push_back(jpeg);
            if (made() < wanted())
                makeNext();
        });
    });
}

SentPicture PictureLoop::picture(qint64 frame) const
{
    if (m_pictures.empty())
        return {};
    const QByteArray &jpeg = m_pictures[std::size_t(frame % made())];
    return {jpeg.first(startOfImageBytes) + comment(frame),
            QByteArray::fromRawData(jpeg.constData() + startOfImageBytes,
                                    jpeg.size() - startOfImageBytes)};
}

PictureStore::PictureStore()
{
    m_clock.start();
    m_pool.setMaxThreadCount(1);
}

PictureStore::~PictureStore()
{
    m_pool.clear();
    m_pool.waitForDone();
}

PictureLoop &PictureStore::loop(int castIndex, PreviewHold hold, const PictureFormat &format)
{
    const Key key(castIndex, hold, format.size.width(), format.size.height(), format.fps);
    std::unique_ptr<PictureLoop> &loop = m_loops[key];
    if (!loop)
        loop = std::make_unique<PictureLoop>(castIndex, hold, format, m_pool);
    return *loop;
}

int PictureStore::wanted() const
{
    int sum = 0;
    for (const auto &[key, loop] : m_loops)
        sum += loop->wanted();
    return sum;
}

int PictureStore::made() const
{
    int sum = 0;
    for (const auto &[key, loop] : m_loops)
        sum += loop->made();
    return sum;
}

} // namespace vorn::rig
