// SPDX-License-Identifier: Apache-2.0

#include "base/display_text.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class DisplayTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsWhatCouldDeceive_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        const auto same = [](const char *name, const QString &text) {
            QTest::newRow(name) << text << text;
        };
        same("plain", u"Night Shoot 2"_s);
        same("markup is only text", u"<img src=x><b>&amp;"_s);
        same("accents and combining marks", u"Zoe\u0308 \u00C9t\u00E9"_s);
        same("right-to-left letters",
             u"\u05E6\u05D9\u05DC\u05D5\u05DD \u0645\u0634\u0631\u0648\u0639"_s);
        same("emoji family", u"\U0001F469\u200D\U0001F4BB"_s);
        same("emoji with variation and joiner", u"\u2764\uFE0F\u200D\U0001F525"_s);
        same("skin tone and joiner", u"\U0001F469\U0001F3FD\u200D\U0001F680"_s);
        same("keycap", u"1\uFE0F\u20E3"_s);
        same("Persian non-joiner", u"\u0645\u06CC\u200C\u062E\u0648\u0627\u0647\u0645"_s);
        same("Devanagari joiner after virama", u"\u0915\u094D\u200D\u0937"_s);

        QTest::newRow("C0") << u"a\tb\nc\r\x1B"_s << u"a\u2409b\u240Ac\u240D\u241B"_s;
        QTest::newRow("NUL and DEL") << u"a\0b\x7F"_s << u"a\u2400b\u2421"_s;
        QTest::newRow("C1") << u"a\u0085b"_s << u"a\u27E8U+0085\u27E9b"_s;
        QTest::newRow("separators")
            << u"a\u2028b\u2029"_s << u"a\u27E8U+2028\u27E9b\u27E8U+2029\u27E9"_s;
        QTest::newRow("override") << u"gnp\u202Evom"_s << u"gnp\u27E8U+202E\u27E9vom"_s;
        QTest::newRow("isolates") << u"\u2066x\u2069"_s
                                  << u"\u27E8U+2066\u27E9x\u27E8U+2069\u27E9"_s;
        QTest::newRow("marks") << u"\u200Ea\u200F\u061C"_s
                               << u"\u27E8U+200E\u27E9a\u27E8U+200F\u27E9\u27E8U+061C\u27E9"_s;
        QTest::newRow("zero width")
            << u"a\u200Bb\u2060c\uFEFF"_s
            << u"a\u27E8U+200B\u27E9b\u27E8U+2060\u27E9c\u27E8U+FEFF\u27E9"_s;
        QTest::newRow("joiners between Latin letters")
            << u"a\u200Db\u200Cc"_s << u"a\u27E8U+200D\u27E9b\u27E8U+200C\u27E9c"_s;
        QTest::newRow("joiner without a second emoji")
            << u"\U0001F469\u200D"_s << u"\U0001F469\u27E8U+200D\u27E9"_s;
        QTest::newRow("variation of a letter") << u"a\uFE0F"_s << u"a\u27E8U+FE0F\u27E9"_s;
        QTest::newRow("blank that is a letter") << u"\u3164"_s << u"\u27E8U+3164\u27E9"_s;
        QTest::newRow("hidden tags") << u"a\U000E0041"_s << u"a\u27E8U+E0041\u27E9"_s;
    }

    void showsWhatCouldDeceive()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, shown);
        QCOMPARE(displayText(text), shown);
    }

    void cutsBetweenCodePoints()
    {
        QCOMPARE(displayText(u"abcd"_s, 4), u"abcd"_s);
        QCOMPARE(displayText(u"abcde"_s, 4), u"abcd\u2026"_s);
        QCOMPARE(displayText(u"\U0001F3AC"_s.repeated(5), 4),
                 u"\U0001F3AC"_s.repeated(4) + u'\u2026');
        QCOMPARE(displayText(u"x"_s.repeated(1'000'000)).size(), longestLine + 1);
    }

    void marksLoneSurrogates()
    {
        const QString shown = displayText(QString(u'a') + QChar(0xD83C) + u'b');
        QVERIFY(!shown.contains(QChar(0xD83C)));
        QVERIFY(shown.startsWith(u'a') && shown.endsWith(u'b') && shown.size() > 2);
    }
};

QTEST_GUILESS_MAIN(DisplayTextTest)
#include "display_text_test.moc"
