// SPDX-License-Identifier: Apache-2.0

#include "library/safe_identifier.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class SafeIdentifierTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void mapsToAFolderName_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("name");
        QTest::newRow("blank, slash") << u"Cam A/01"_s << u"cam-a-01"_s;
        QTest::newRow("trimmed") << u"--x--"_s << u"x"_s;
        QTest::newRow("underscore") << u"a_b"_s << u"a_b"_s;
        QTest::newRow("nothing left") << u"../.."_s << QString();
        QTest::newRow("a letter with its mark stays whole")
            << u"Cafe\u0301 1"_s << u"cafe\u0301-1"_s;
        QTest::newRow("any script")
            << u"Камера №٣"_s << u"камера-\u2116\u0663"_s.replace(u'\u2116', u'-');
        QTest::newRow("outside the basic plane") << u"𝒳😀y"_s << u"𝒳-y"_s;
        QTest::newRow("NUL and controls") << QString(u"a\u0000b\u202Ec"_s) << u"a-b-c"_s;
        QTest::newRow("a letter that binds the slash after it") << u"x\U000111C2/y"_s << u"x-y"_s;
        QTest::newRow("a hyphen with a mark is no hyphen") << u"-\u0301x"_s << u"x"_s;
        QTest::newRow("longest") << QString(256, u'a') << QString(255, u'a');
        QTest::newRow("cut behind a hyphen") << QString(254, u'a') + u"-b"_s << QString(254, u'a');
        QTest::newRow("a lone surrogate") << u"a"_s + QChar(char16_t(0xDC00)) << u"a"_s;
    }

    void mapsToAFolderName()
    {
        QFETCH(const QString, text);
        QTEST(safeIdentifier(text), "name");
    }

    void alwaysNamesSomethingBelowItsFolder()
    {
        QRandomGenerator random(7);
        for (int round = 0; round < 100'000; ++round) {
            QString text;
            const int length = random.bounded(1, round % 100 == 0 ? 600 : 12);
            for (int i = 0; i < length; ++i)
                text += QChar(
                    char16_t(random.bounded(4) ? random.bounded(0x250) : random.bounded(0x10000)));
            const QString name = safeIdentifier(text);
            const bool isSafe =
                name.toUtf8().size() <= 255 && std::ranges::none_of(name, [](QChar c) {
                    return c == u'/' || c == u'.' || c.category() == QChar::Other_Control;
                });
            QVERIFY2(isSafe, text.toUtf8().toHex().constData());
        }
    }
};

QTEST_GUILESS_MAIN(SafeIdentifierTest)
#include "safe_identifier_test.moc"
