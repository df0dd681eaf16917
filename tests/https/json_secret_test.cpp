// SPDX-License-Identifier: Apache-2.0

#include "base/json_text.h"
#include "https/json_secret.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class JsonSecretTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cutsTheTextAsAReaderWouldReadIt_data()
    {
        QTest::addColumn<QByteArray>("document"); // with ' for "
        const auto row = [](const char *name, const QByteArray &document) {
            QTest::newRow(name) << QByteArray(document).replace('\'', '"');
        };
        row("plain", "{'a': 1, 'key': 'secret', 'b': [true]}");
        row("empty", "{'key':''}");
        row("blanks", "{ 'key'\r\n\t : \n'secret'}");
        row("escapes", "{'key':'\\'\\\\\\/\\b\\f\\n\\r\\t'}");
        row("escape before the end", "{'key':'secret\\\\','b':'c'}");
        row("escaped letters", "{'key':'\\u0041\\u00e9\\u20AC\\ud83c\\udfac'}");
        row("letters beyond ASCII", "{'key':'é€🎬'}");
        row("a byte order mark in front", "{'\xEF\xBB\xBFkey':'no','key':'\xEF\xBB\xBFsecret'}");
        row("escaped key", "{'\\u006bey':'secret'}");
        row("twice", "{'key':'first','key':'second'}");
        row("twice, and one of them no text", "{'key':'first','key':2}");
        row("as a value", "{'a':'key','b':'c'}");
        row("in a deeper object", "{'a':{'key':'secret'}}");
        row("in a list", "{'a':['key','secret']}");
        row("in another text", "{'a':'\\',\\'key\\':\\'secret\\''}");
        row("a number", "{'key':7}");
    }

    void cutsTheTextAsAReaderWouldReadIt()
    {
        QFETCH(QByteArray, document);
        QJsonObject read = parseJson(document).object();
        const QJsonValue expected = read.value(u"key"_s);
        const std::optional<SecretBytes> secret = cutJsonSecret(document, "key");
        QJsonParseError error;
        QJsonObject left = parseJson(document, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        if (expected.isString()) {
            QVERIFY(secret);
            QCOMPARE(QByteArrayView(*secret).toByteArray(), expected.toString().toUtf8());
            QCOMPARE(left.take(u"key"_s), QJsonValue(u""_s));
            read.remove(u"key"_s);
        }
        QCOMPARE(left, read);
    }

    void leavesBrokenDocumentsBroken_data()
    {
        QTest::addColumn<QByteArray>("document");
        // With ' for ".
        for (const char *text :
             {"", "{", "'", "{'key", "{'key'", "{'key':", "{'key':'", "{'key':'a\\", "{'key':'a\\'",
              "{'key':'\\x'}", "{'key':'\\u12'}", "{'key':'\\u12G4'}", "{'key':'\\ud83c'}",
              "{'key':'\\ud83c\\u0041'}", "{'key':'\\udfac\\udfac'}", "{'key':'a' 'b'}",
              "{'key':'\xff'}"})
            QTest::newRow(text) << QByteArray(text).replace('\'', '"');
    }

    void leavesBrokenDocumentsBroken()
    {
        QFETCH(QByteArray, document);
        const qsizetype size = document.size();
        const bool isSound = !QJsonDocument::fromJson(document).isNull();
        const bool isEscaped = document.contains("\\u");
        QVERIFY(!cutJsonSecret(document, "key") || !isEscaped);
        QCOMPARE(document.size(), size);
        QCOMPARE(!QJsonDocument::fromJson(document).isNull(), isSound);
    }
};

QTEST_GUILESS_MAIN(JsonSecretTest)
#include "json_secret_test.moc"
