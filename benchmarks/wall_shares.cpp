// SPDX-License-Identifier: Apache-2.0

// Usage: wall_shares
// How much of the Director's wall is picture: with four level pictures, four upright ones, and two
// of each, in three sizes of the window, with the inspector and without. For each the share of the
// wall and that of its places (the frames around pictures), the sizes of the smallest and the
// largest picture on the wall, and that of the picture in Preview. Needs a display of 1920 by 1080,
// and the network of scripts/lab.

#include "live/live_camera_discovery.h"
#include "rig_phones.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/director/camera_frame_image.h"
#include "views/program_windows.h"
#include "working.h"

#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vorn;

namespace {

constexpr auto settling = 3s; // longer than the wall waits before it takes on a new shape
constexpr std::array phones{"cam-a", "cam-b", "cam-c", "cam-d"};

struct Holding {
    const char *name;
    std::size_t upright; ///< so many of the four
};

double area(const QSizeF &size)
{
    return size.width() * size.height();
}

QList<QQuickItem *> itemsUnder(QQuickItem *root, const char *type)
{
    QList<QQuickItem *> items;
    if (QByteArray(root->metaObject()->className()).startsWith(type) && root->isVisible())
        items += root;
    for (QQuickItem *child : root->childItems())
        items += itemsUnder(child, type);
    return items;
}

class Desk {
public:
    Desk()
        : m_store(m_folder.path(), m_folder.path()),
          m_settings(m_folder.filePath(u"settings.ini"_s), QSettings::IniFormat),
          m_director(m_store, m_catalogs, m_cameras, m_settings),
          m_owned(makeDirectorWindow(m_engine, m_director)),
          m_window(qobject_cast<QQuickWindow *>(m_owned.get()))
    {
        m_window->requestActivate();
        const auto &frames = m_director.session().previews().wallFrames();
        if (!workUntil([&frames] { return frames.size() == phones.size(); }))
            throw std::runtime_error("not all pictures came");
        settle(settling);
    }

    void resize(const QSize &size)
    {
        m_window->resize(size);
        settle(500ms);
        if (m_window->size() != size)
            throw std::runtime_error("the display is too small");
    }

    void foldInspector()
    {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
            QCoreApplication::postEvent(m_window, new QKeyEvent(type, Qt::Key_F9, Qt::NoModifier));
        settle(500ms);
    }

    void print(const char *name) const
    {
        QQuickItem *wall = itemsUnder(m_window->contentItem(), "CameraWall").value(0);
        double pictures = 0;
        double places = 0;
        QSizeF largest;
        QSizeF smallest(1e6, 1e6);
        for (QQuickItem *place : itemsUnder(wall, "FrameWell")) {
            const QSizeF picture = pictureIn(place);
            pictures += area(picture);
            places += area(place->size());
            if (area(picture) > area(largest))
                largest = picture;
            if (area(picture) < area(smallest))
                smallest = picture;
        }
        const QList<QQuickItem *> wells = itemsUnder(m_window->contentItem(), "FrameWell");
        const QSizeF preview = pictureIn(wells.value(int(phones.size())));
        std::printf("%-11s %4d x %-4d %-6s %3.0f %% of the wall %3.0f %% of its places   "
                    "%3.0f x %-3.0f to %3.0f x %-3.0f on the wall   %3.0f x %-3.0f in Preview\n",
                    name, m_window->width(), m_window->height(),
                    itemsUnder(m_window->contentItem(), "DirectorInspector").isEmpty() ? "folded"
                                                                                       : "open",
                    100 * pictures / area(wall->size()), 100 * pictures / places, smallest.width(),
                    smallest.height(), largest.width(), largest.height(), preview.width(),
                    preview.height());
    }

private:
    /// What the camera's picture covers of a place.
    [[nodiscard]] QSizeF pictureIn(QQuickItem *place) const
    {
        const auto *frame =
            qobject_cast<CameraFrameImage *>(itemsUnder(place, "vorn::CameraFrameImage").value(0));
        const DirectorSession &session = m_director.session();
        const QSize image = frame->frame() ? frame->frame()->image.size() : QSize();
        return QSizeF(session.frameRotation(frame->cameraID(), image) % 180 == 0
                          ? image
                          : image.transposed())
            .scaled(frame->size(), Qt::KeepAspectRatio);
    }

    static void settle(std::chrono::milliseconds time)
    {
        QEventLoop loop;
        QTimer::singleShot(time, &loop, &QEventLoop::quit);
        loop.exec();
    }

    QTemporaryDir m_folder;
    AppStore m_store;
    QSettings m_settings;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_cameras;
    DirectorViewModel m_director;
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_owned;
    QQuickWindow *m_window;
};

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    applyLook();
    RigPhones rig;
    for (const Holding &holding :
         {Holding{"level", 0}, Holding{"upright", 4}, Holding{"two of each", 2}}) {
        for (std::size_t i = 0; i < phones.size(); ++i)
            rig.must(u"%1 hold %2"_s.arg(QLatin1String(phones[i]),
                                         i < holding.upright ? u"upright"_s : u"landscape"_s));
        Desk desk;
        for (const QSize size : {QSize(1120, 700), QSize(1320, 820), QSize(1920, 1080)}) {
            desk.resize(size);
            for (int state = 0; state < 2; ++state) {
                desk.print(holding.name);
                desk.foldInspector();
            }
        }
    }
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
