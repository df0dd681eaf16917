// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig_phones.h"
#include "views/director/camera_frame_image.h"
#include "window_probe.h"

#include <QtTest>

#include <algorithm>
#include <optional>

namespace vorn {

/// A test of the Director window with four phones.
class DirectorTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_phones.must(QStringLiteral("all reset"));
        m_phones.must(QStringLiteral("storm 0"));
        // Else the places move when the pictures have come.
        m_phones.must(QStringLiteral("all hold landscape"));
    }

protected:
    RigPhones m_phones;
};

/// The Director window alone.
class DirectorProbe : public WindowHands {
public:
    DirectorProbe() { takeUp(m_window.get()); }

    void reopen()
    {
        m_window.reset();
        m_opening.emplace(m_desk.store, m_desk.catalogs, m_desk.cameras, m_desk.settings);
        m_window = makeDirectorWindow(m_engine, *m_opening);
        takeUp(m_window.get());
    }

    [[nodiscard]] AppStore &store() { return m_desk.store; }
    [[nodiscard]] QSettings &settings() { return m_desk.settings; }
    [[nodiscard]] const LiveEditTimeline &timeline() const
    {
        return m_opening->session().timeline();
    }
    [[nodiscard]] DirectorViewModel &director() { return *m_opening; }

    /// Where the item of this name is in the window.
    [[nodiscard]] QRectF placeOf(const QString &name) const
    {
        QQuickItem *item = named(name);
        return item->mapRectToScene(item->boundingRect());
    }

    /// Moves the handle to the left of what has this name.
    void drag(const QString &name, int by)
    {
        const QRectF pane = placeOf(name);
        const QPoint handle(int(pane.left()) - 8, int(pane.center().y()));
        QTest::mousePress(window(), Qt::LeftButton, {}, handle);
        for (const int step : {by / 2, by})
            QTest::mouseMove(window(), handle + QPoint(step, 0));
        QTest::mouseRelease(window(), Qt::LeftButton, {}, handle + QPoint(by, 0));
    }
    /// Width by height of the places of the wall.
    [[nodiscard]] double placeRatio() const
    {
        for (QQuickItem *item : visibleItems(window()->contentItem())) {
            if (item->inherits("vorn::CameraFrameImage") && !item->property("monitor").toBool())
                return item->width() / item->height();
        }
        return 0;
    }

    [[nodiscard]] qsizetype framesShown() const
    {
        return std::ranges::count_if(visibleItems(window()->contentItem()), [](QQuickItem *item) {
            return item->inherits("vorn::CameraFrameImage") && item->property("hasFrame").toBool();
        });
    }
    /// The widest decoded picture that is shown, in pixels; none where one is decoded smaller than
    /// it is drawn, or much larger.
    [[nodiscard]] std::optional<int> widestDecoded() const
    {
        int widest = 0;
        for (QQuickItem *item : visibleItems(window()->contentItem())) {
            const auto *shown = qobject_cast<CameraFrameImage *>(item);
            const PreviewFrame *frame = shown ? shown->frame() : nullptr;
            if (!frame)
                continue;
            const int width = frame->image.width();
            const double drawn = // phones are held level
                QSizeF(frame->size).scaled(item->size(), Qt::KeepAspectRatio).width()
                * item->window()->effectiveDevicePixelRatio();
            if ((width < drawn && width < frame->size.width()) || width > 2 * drawn + 2)
                return std::nullopt;
            widest = std::max(widest, width);
        }
        return widest;
    }
    void goToTheEndOfTheTake()
    {
        const auto items = visibleItems(window()->contentItem());
        const auto field = std::ranges::find_if(
            items, [](QQuickItem *item) { return item->inherits("QQuickTextField"); });
        click(*field);
        press(Qt::Key_End);
    }

    /// From then on the tiles keep their places.
    void awaitCameras()
    {
        QTRY_COMPARE_WITH_TIMEOUT(director().cameraCountText(), QStringLiteral("4 CAMERAS"),
                                  limitMs);
    }
    void startSession()
    {
        awaitCameras();
        click(named(QStringLiteral("Start Director Session")));
        QVERIFY(director().isSessionRunning());
    }

private:
    Desk m_desk{fewProjects()};
    std::optional<DirectorViewModel> m_opening{std::in_place, m_desk.store, m_desk.catalogs,
                                               m_desk.cameras, m_desk.settings};
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_window = makeDirectorWindow(m_engine, *m_opening);
};

} // namespace vorn
