// SPDX-License-Identifier: Apache-2.0

#include "drift/drift_error.h"
#include "drift/rate_text.h"
#include "support.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class RateTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsRatiosAndNumbers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("rate");
        QTest::newRow("whole") << u"30"_s << 30.0;
        QTest::newRow("decimal") << u"29.97"_s << 29.97;
        QTest::newRow("film") << u"23.976"_s << 23.976;
        QTest::newRow("plus sign") << u"+25"_s << 25.0;
        QTest::newRow("exponent") << u"2.5e1"_s << 25.0;
        QTest::newRow("ratio") << u"30000/1001"_s << 30000.0 / 1001.0;
        QTest::newRow("ratio of one") << u"24/1"_s << 24.0;
        QTest::newRow("ratio of decimals") << u"59.94/2"_s << 29.97;
        QTest::newRow("empty piece") << u"30//1"_s << 30.0;
        QTest::newRow("slash before") << u"/30/1"_s << 30.0;
        QTest::newRow("zero ratio") << u"0/1"_s << 0.0;
        QTest::newRow("negative ratio") << u"-30/1"_s << -30.0;
    }

    void readsRatiosAndNumbers()
    {
        QFETCH(const QString, text);
        QFETCH(const double, rate);
        QCOMPARE(DriftEngine::fpsValue(text), rate);
    }

    void refusesEverythingElse_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text :
             {"",      " ",     "/",     "//",    "thirty", "0",      "-25",  "30/",
              "/30",   "30/0",  "30/-1", "30/x",  "x/1",    "30/1/1", " 30",  "30 ",
              "30 /1", "30/ 1", "30\n",  "29,97", "30fps",  "+-30",   "++30", "nan",
              "nan/1", "1e400", "-",     ".",     "0x1e"})
            QTest::addRow("'%s'", QByteArray(text).toPercentEncoding("/+ ,").constData())
                << QString::fromLatin1(text);
        QTest::newRow("digits of another script") << u"\uFF13\uFF10"_s;
        QTest::newRow("NUL at the end") << QString(u"30"_s + QChar(u'\0'));
    }

    void refusesEverythingElse()
    {
        QFETCH(const QString, text);
        try {
            QVERIFY2(false, qPrintable(QString::number(DriftEngine::fpsValue(text))));
        } catch (const DriftExportError &error) {
            QCOMPARE(error.what(), "Invalid timeline frame rate.");
            QVERIFY(error.kind() == DriftExportError::Case::invalid);
        }
    }
};

QTEST_GUILESS_MAIN(RateTextTest)
#include "rate_text_test.moc"
