// SPDX-License-Identifier: Apache-2.0

#include "library/safe_identifier.h"

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
};

QTEST_GUILESS_MAIN(SafeIdentifierTest)
#include "safe_identifier_test.moc"
