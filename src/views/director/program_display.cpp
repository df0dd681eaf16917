// SPDX-License-Identifier: Apache-2.0

#include "views/director/program_display.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace vorn {

using namespace Qt::StringLiterals;

ProgramDisplay::ProgramDisplay(std::unique_ptr<QWindow> window, const QWindow &desk)
    : m_window(std::move(window)), m_desk(desk)
{
    connect(m_window.get(), SIGNAL(fullScreenToggled()), this, SLOT(toggleFullScreen()));
    connect(m_window.get(), &QWindow::visibleChanged, this, &ProgramDisplay::onVisible);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &ProgramDisplay::onScreenRemoved);
}

QScreen &ProgramDisplay::display() const
{
    if (m_window->screen() != m_desk.screen())
        return *m_window->screen();
    for (QScreen *screen : QGuiApplication::screens()) {
        if (screen != m_desk.screen())
            return *screen;
    }
    return *m_desk.screen();
}

void ProgramDisplay::takePlace()
{
    if (QScreen &target = display(); m_window->screen() != &target)
        centreOn(target);
}

void ProgramDisplay::centreOn(QScreen &screen)
{
    // Where windows place themselves the position tells the display, elsewhere the screen does.
    m_window->setScreen(&screen);
    const QRect room = screen.availableGeometry();
    QRect place({}, m_window->size().boundedTo(room.size()));
    place.moveCenter(room.center());
    m_window->setGeometry(place);
}

void ProgramDisplay::toggleFullScreen()
{
    if (m_window->windowStates().testFlag(Qt::WindowFullScreen)) {
        m_window->showNormal();
        return;
    }
    takePlace();
    m_window->showFullScreen();
}

void ProgramDisplay::onVisible(bool isVisible)
{
    m_computerAwake.reset();
    m_displaysAwake.reset();
    if (!isVisible)
        return;
    const QString reason = u"Program is shown on a display."_s;
    m_computerAwake.emplace(reason);
    m_displaysAwake.emplace(reason);
}

void ProgramDisplay::onScreenRemoved(const QScreen *screen)
{
    // By then the toolkit has given the window to another display, but left it where it was.
    if (m_window->screen() == screen)
        QMetaObject::invokeMethod(this, &ProgramDisplay::comeBack, Qt::QueuedConnection);
}

void ProgramDisplay::comeBack()
{
    // Full screen it would lie over the desk.
    m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowFullScreen);
    centreOn(display());
}

} // namespace vorn
