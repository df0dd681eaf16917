// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "window_probe.h"

#include <QtTest>

#include <functional>

namespace vorn {

class RigPhones;

inline constexpr QLatin1StringView programTitle("VORN Program");

/// The program's windows over a library of their own.
class Program : public WindowHands {
public:
    explicit Program(const std::vector<VORNProject> &projects = {});

    [[nodiscard]] AppStore &store() { return m_desk.store; }
    [[nodiscard]] Desk &desk() { return m_desk; }

    void control(Qt::Key key) { press(key, Qt::ControlModifier); }
    void awaitFocus(const QString &name);
    /// Waits for a control, and for what is told of it.
    void await(const QString &name, const QString &told = {});
    void choose(const QString &name);
    void focus(const QString &name);
    void open(Qt::Key key, const QString &focus);
    void fail();
    void shrink();
    /// With a phone whose server is on: turned on again, it would be another record, in the middle
    /// of the walk.
    void pair(RigPhones &phones, const QString &camera);
    /// The length of what verifyALongFile() verifies.
    void resizeFile(qint64 bytes);

private:
    Desk m_desk;
};

/// How a state comes about from the one before.
struct State {
    QString name;
    std::function<void()> enter;
};

/// A test that walks windows through their states, by keyboard and by what a screen reader is
/// given. Leaves a picture of each state.
class WalkTest : public WindowTest {
    Q_OBJECT
protected Q_SLOTS:
    void init();

protected:
    /// Walks one state after the other. Escape leads back from a sheet or another window, to where
    /// the keyboard was.
    void walk(Program &program, const std::vector<State> &states);

private:
    void leave(Program &program, QQuickWindow *window);
};

} // namespace vorn
