// SPDX-License-Identifier: Apache-2.0

// Every state of the windows with phones in them: the connect sheet, a download, the Director.

#include "phones_side.h"
#include "rig_phones.h"
#include "walk_probe.h"
#include "walked_item.h"

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto toggle = u"This 128-bit fingerprint matches the fingerprint shown on the phone"_s;
const auto codeField = u"Six-digit code from phone"_s;

} // namespace

class PhoneWalkTest : public WalkTest {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        WalkTest::init();
        m_phones.must(u"all reset"_s);
    }

    // clang-format off
    void walksTheConnectSheet()
    {
        Program program;
        PhonesSide others;
        m_phones.must(u"all sleep"_s);
        const auto open = [&] { program.open(Qt::Key_K, u"Scan Again"_s); };
        walk(program, {
            {u"Connect, waiting"_s, open},
            {u"Connect, phones to ask"_s, [&] {
                m_phones.must(u"all wake"_s);
                m_phones.must(u"cam-b record take-1"_s);
                open();
                for (const QString &name : {u"Ada's phone"_s, u"Mara's phone"_s, u"Tarek's phone"_s})
                    program.await(name, u"Ask"_s);
                program.await(u"Jonas's phone"_s, u"recording"_s);
            }},
            {u"Connect, rows"_s, [&] {
                m_phones.must(u"cam-a server on"_s);
                m_phones.must(u"cam-d server on"_s);
                others.announce(u"Incomplete"_s, transfer, 14, 8444, {});
                open();
                program.await(u"Mara's phone"_s, u"HTTPS"_s);
                program.await(u"Tarek's phone"_s, u"HTTPS"_s);
                program.await(u"Incomplete"_s, u"Incomplete"_s);
            }},
            {u"Connect, fingerprint"_s, [&] {
                open();
                program.choose(u"Mara's phone"_s);
                program.await(codeField);
            }},
            {u"Connect, code"_s, [&] {
                open();
                program.choose(toggle);
                program.choose(codeField);
                program.type(u"123456"_s);
            }},
            {u"Connect, sessions"_s, [&] {
                program.pair(m_phones, u"cam-a"_s);
                program.pair(m_phones, u"cam-d"_s);
                open();
            }},
            {u"Connect, another phone"_s, [&] {
                open();
                program.choose(u"Ask another phone…"_s);
                program.await(u"Ada's phone"_s, u"Ask"_s);
            }},
            {u"Connect, smallest"_s, [&] {
                program.shrink();
                open();
                program.focus(codeField);
                program.press(Qt::Key_Escape);
                QTRY_VERIFY(!program.shows(codeField));
                open(); // not at what had the keyboard
                QVERIFY(isInSight(program.named(u"ACTIVE SESSIONS"_s)));
            }},
            {u"Connect, fast hands"_s, [&] {
                open();
                program.choose(u"Scan Again"_s); // without a choice again
                program.await(u"Tarek's phone"_s, u"HTTPS"_s);
                program.focus(u"Tarek's phone"_s);
                program.press(Qt::Key_Space);
                // They are in the block of the choice before it has its place.
                for (int i = 0; i < 12 && program.focusName() != toggle; ++i)
                    program.press(Qt::Key_Tab);
            }},
        });
    }

    void walksADownload()
    {
        Program program;
        walk(program, {
            {u"Library, to download"_s, [&] {
                m_phones.must(u"cam-a server on"_s);
                program.pair(m_phones, u"cam-a"_s);
            }},
            {u"Library, downloading"_s, [&] {
                m_phones.must(u"cam-a http files body slow 100000"_s);
                program.choose(u"Download Take"_s);
                program.control(Qt::Key_2);
                QTRY_VERIFY_WITH_TIMEOUT(program.store().downloadProgress(), limitMs);
            }},
            {u"Library, smallest, downloading"_s, [&] { program.shrink(); }},
            {u"Library, failed"_s, [&] {
                m_phones.must(u"cam-a hang-up"_s);
                program.awaitFocus(u"OK"_s);
            }},
            {u"Library, failed transfer"_s, [] {}},
        });
    }

    void walksTheDirector()
    {
        Program program(fewProjects());
        m_phones.must(u"all sleep"_s);
        program.desk().windows.showDirector();
        program.takeUp(u"VORN Director"_s);
        const auto wake = [&](const QString &camera, const QString &count) {
            m_phones.must(camera + u" wake"_s);
            program.await(count + u" CAMERAS"_s);
        };
        const auto showProgram = [&] {
            program.press(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
            program.takeUp(programTitle);
        };
        walk(program, {
            {u"Director, no cameras"_s, [] {}},
            {u"Program, black"_s, showProgram},
            {u"Director, nothing heard"_s, [&] { program.await(u"Check network"_s); }},
            {u"Check network"_s, [&] {
                program.choose(u"Check network"_s);
                program.takeUp(u"Check network"_s);
                QTRY_VERIFY_WITH_TIMEOUT(!program.spokenRows(u"Findings"_s).isEmpty(), limitMs);
            }},
            {u"Director, one camera"_s, [&] { wake(u"cam-a"_s, u"1"_s); }},
            {u"Director, two cameras"_s, [&] { wake(u"cam-b"_s, u"2"_s); }},
            {u"Director, three cameras"_s, [&] { wake(u"cam-c"_s, u"3"_s); }},
            {u"Director, four cameras"_s, [&] { wake(u"cam-d"_s, u"4"_s); }},
            {u"Director, recording"_s, [&] {
                m_phones.must(u"cam-b record tape-1"_s);
                program.await(u"Jonas's phone"_s, u"REC"_s);
            }},
            {u"Director, audio"_s, [&] { program.choose(u"Audio"_s); }},
            {u"Director, camera"_s, [&] { program.choose(u"Camera"_s); }},
            {u"Director, no edits"_s, [&] { program.choose(u"Edits"_s); }},
            {u"Director, session"_s, [&] {
                program.choose(u"Session"_s);
                program.choose(u"Start Director Session"_s);
                program.await(u"Session Running"_s);
            }},
            {u"Director, edits"_s, [&] {
                program.choose(u"Edits"_s);
                program.press(Qt::Key_Space);
                program.choose(u"Marker"_s);
                program.await(u"2 events in this session"_s);
            }},
            {u"Director, many edits"_s, [&] {
                for (int i = 0; i < 30; ++i)
                    program.choose(u"Marker"_s);
            }},
            {u"Director, frozen"_s, [&] {
                m_phones.must(u"cam-c preview silent"_s);
                program.await(u"Ada's phone"_s, u"Picture"_s);
            }},
            {u"Program, frozen"_s, [&] {
                m_phones.must(u"all preview silent"_s);
                showProgram();
                program.await(u"PROGRAM, Mara's phone"_s, u"Picture"_s);
            }},
            {u"Director, offline"_s, [&] {
                m_phones.must(u"all preview ok"_s);
                m_phones.must(u"cam-d sleep"_s);
                program.await(u"Tarek's phone"_s, u"OFFLINE"_s);
            }},
            {u"Director, error"_s, [&] { program.fail(); }},
            {u"End Session"_s, [&] { program.open(Qt::Key_W, u"Keep Working"_s); }},
            {u"Director, smallest"_s, [&] { program.shrink(); program.choose(u"Camera"_s); }},
            {u"Director, smallest, audio"_s, [&] { program.choose(u"Audio"_s); }},
            {u"Director, folded"_s, [&] { program.choose(u"Hide Inspector"_s); }},
        });
    }
    // clang-format on

private:
    RigPhones m_phones{
        {.transfer = u"ask"_s, .clips = 1, .more = {u"--clip-bytes"_s, u"20000000"_s}}};
};

QTEST_MAIN(PhoneWalkTest)
#include "phone_walk_test.moc"
