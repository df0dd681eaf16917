// SPDX-License-Identifier: Apache-2.0

#include "walk_probe.h"

#include "rig_phones.h"
#include "window_walker.h"

#include <map>

namespace vorn {

using namespace Qt::StringLiterals;

Program::Program(const std::vector<VORNProject> &projects) : m_desk(projects)
{
    m_desk.windows.showLibrary();
    takeUp(u"VORN Library"_s);
}

void Program::awaitFocus(const QString &name)
{
    QTRY_COMPARE_WITH_TIMEOUT(focusName(), name, limitMs);
}

void Program::await(const QString &name, const QString &told)
{
    const auto isSo = [&] { return shows(name) && descriptionOf(named(name)).contains(told); };
    const bool became = QTest::qWaitFor(isSo, limitMs);
    const QString left = shows(name) ? descriptionOf(named(name)) : u"not shown"_s;
    QVERIFY2(became, qPrintable(QStringList({name, told, left}).join(u" | ")));
}

void Program::choose(const QString &name)
{
    await(name);
    click(named(name));
}

void Program::focus(const QString &name)
{
    await(name);
    if (QQuickItem *item = named(name))
        item->forceActiveFocus(Qt::TabFocusReason);
}

void Program::open(Qt::Key key, const QString &focus)
{
    control(key);
    awaitFocus(focus);
}

void Program::fail()
{
    store().importManifest(u"/nowhere.json"_s);
    awaitFocus(u"OK"_s);
}

void Program::shrink()
{
    window()->resize(window()->minimumSize());
    QTRY_COMPARE(window()->contentItem()->size().toSize(), window()->minimumSize());
}

void Program::pair(RigPhones &phones, const QString &camera)
{
    phones.must(camera + u" code"_s);
    const std::size_t before = store().transferSessions().size();
    store().pairAndConnect(phones.shared(camera), phones.transfer(camera)[u"code"_s].toString(),
                           true);
    QTRY_COMPARE_WITH_TIMEOUT(store().transferSessions().size(), before + 1, limitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!store().isBusy(), limitMs);
}

void Program::resizeFile(qint64 bytes)
{
    QVERIFY(QFile::resize(m_desk.folder.filePath(u"A.mov"_s), bytes));
}

void WalkTest::init()
{
    QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not)"_s));
}

void WalkTest::walk(Program &program, const std::vector<State> &states)
{
    QStringList faults;
    QQuickWindow *window = program.window();
    std::map<QQuickItem *, QString> focus; // in the window and in each sheet
    const auto remember = [&] {
        QQuickItem *item = window->activeFocusItem();
        if (item && item != window->contentItem())
            focus[sheetOf(window)] = program.focusName();
    };
    for (const State &state : states) {
        {
            QObject watch; // ends with the state, also where that fails
            connect(window, &QQuickWindow::activeFocusItemChanged, &watch, remember);
            program.press(Qt::Key_Tab); // somewhere
            state.enter();
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(state.name));
            faults += walkState(program, state.name);
        }
        leave(program, window);
        const QString left = focus[nullptr];
        if (!QTest::qWaitFor([&] { return program.focusName() == left; }))
            faults += state.name + u" | left by Escape, the keyboard is not at: "_s + left;
    }
    for (const QString &fault : faults)
        qWarning("%s", qPrintable(fault));
    QCOMPARE(faults.size(), 0);
}

void WalkTest::leave(Program &program, QQuickWindow *window)
{
    while (QQuickItem *sheet = sheetOf(program.window())) {
        program.press(Qt::Key_Escape);
        const auto isLeft = [&] { return sheetOf(program.window()) != sheet; };
        QVERIFY(QTest::qWaitFor(isLeft, limitMs));
    }
    if (program.window() == window)
        return;
    if (program.window()->title() == programTitle)
        program.control(Qt::Key_W); // Escape does not take it off the air
    else
        program.press(Qt::Key_Escape);
    QTRY_VERIFY_WITH_TIMEOUT(!program.window()->isVisible(), limitMs);
    program.takeUp(window);
}

} // namespace vorn
