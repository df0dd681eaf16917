// SPDX-License-Identifier: Apache-2.0

#include "views/controls/row_list_model.h"
#include "views/controls/typed_search.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

struct Row {
    QString key;
    int value = 0;

    bool operator==(const Row &) const = default;
};

// "a b:7" stands for rows a, of value 0, and b, of value 7.
std::vector<Row> rows(const QString &text)
{
    std::vector<Row> result;
    for (const QString &word : text.split(u' ', Qt::SkipEmptyParts))
        result.push_back({word.section(u':', 0, 0), word.section(u':', 1).toInt()});
    return result;
}

class Watched {
public:
    Watched()
    {
        const auto noteRows = [this](const QString &what) {
            return [this, what](const QModelIndex &, int first, int last) {
                note(u"%1 %2-%3"_s.arg(what).arg(first).arg(last));
            };
        };
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, &model, noteRows(u"insert"_s));
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model, noteRows(u"remove"_s));
        QObject::connect(&model, &QAbstractItemModel::rowsMoved, &model,
                         [this](const QModelIndex &, int first, int, const QModelIndex &, int to) {
                             note(u"move %1>%2"_s.arg(first).arg(to));
                         });
        QObject::connect(
            &model, &QAbstractItemModel::dataChanged, &model,
            [this](const QModelIndex &index) { note(u"change %1"_s.arg(index.row())); });
    }

    [[nodiscard]] QString steps() const { return m_steps.join(u", "_s); }
    void forget() { m_steps.clear(); }

    RowListModel<Row> model{{{"key", &Row::key}, {"value", &Row::value}}};

private:
    void note(const QString &step) { m_steps.append(step); }

    QAbstractItemModelTester m_tester{&model,
                                      QAbstractItemModelTester::FailureReportingMode::QtTest};
    QStringList m_steps;
};

} // namespace

class RowListModelTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhatChanged_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("steps");
        QTest::newRow("in the middle") << u"a d"_s << u"a b c d"_s << u"insert 1-2"_s;
        QTest::newRow("two holes") << u"a b c d e"_s << u"a c e"_s << u"remove 3-3, remove 1-1"_s;
        QTest::newRow("value") << u"a b c"_s << u"a b:1 c"_s << u"change 1"_s;
        QTest::newRow("first to the end") << u"a b c d"_s << u"b c d a"_s << u"move 0>4"_s;
        QTest::newRow("last to the front") << u"a b c d"_s << u"d a b c"_s << u"move 3>0"_s;
        QTest::newRow("moved and changed") << u"a b c"_s << u"b c a:2"_s << u"move 0>3, change 2"_s;
        QTest::newRow("other list") << u"a b"_s << u"c d"_s << u"remove 0-1, insert 0-1"_s;
        QTest::newRow("equal keys") << u"a a"_s << u"a a a:3"_s << u"insert 2-2"_s;
    }

    void saysWhatChanged()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, after);
        QFETCH(const QString, steps);
        Watched watched;
        watched.model.setRows(rows(before));
        watched.forget();
        watched.model.setRows(rows(after));
        QCOMPARE(watched.model.rows(), rows(after));
        QCOMPARE(watched.steps(), steps);
    }

    void findsByTyping_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<QString>("typed"); // "|": more than a second passes
        QTest::addColumn<QString>("found");
        QTest::newRow("first of two") << -1 << u"an"_s << u"0 0"_s;
        QTest::newRow("next of two") << 0 << u"a"_s << u"2"_s;
        QTest::newRow("begins anew at the end") << 2 << u"an"_s << u"0 0"_s;
        QTest::newRow("same letter again") << -1 << u"aaa"_s << u"0 2 0"_s;
        QTest::newRow("late letter") << -1 << u"b|t"_s << u"1 5"_s;
        QTest::newRow("accent and case") << 0 << u"E\u0301L"_s << u"4 3 3"_s;
        QTest::newRow("sharp s") << 0 << u"STRASS"_s << u"4 4 4 4 4 4"_s;
        QTest::newRow("within") << 0 << u"k-1"_s << u"5 5 5"_s;
        QTest::newRow("nothing") << 0 << u"bx"_s << u"1"_s;
        QTest::newRow("blank first") << 0 << u" b"_s << u"1"_s;
        QTest::newRow("no text") << 0 << u"\t\r\b"_s << QString();
    }

    void findsByTyping()
    {
        QFETCH(const int, current);
        QFETCH(const QString, typed);
        QFETCH(const QString, found);
        Watched watched;
        watched.model.setRows(rows(u"ana bo anna \u00C9lan stra\u00DFe tak-10"_s));
        TypedSearch search;
        search.setProperty("model", QVariant::fromValue<QAbstractItemModel *>(&watched.model));
        search.setProperty("role", u"key"_s);
        search.setProperty("current", current);
        QStringList hits;
        connect(&search, &TypedSearch::found, &search, [&](int row) {
            hits += QString::number(row);
            search.setProperty("current", row);
        });
        QVERIFY(!search.press(u"a"_s, Qt::ControlModifier));
        for (const QChar letter : typed) {
            if (letter == u'|')
                search.forget();
            else
                (void)search.press(letter, Qt::ShiftModifier);
        }
        QCOMPARE(hits.join(u' '), found);
    }

    // The tester checks every signal against the rows as they then stand.
    void followsAnyChange()
    {
        QRandomGenerator random(20240611);
        Watched watched;
        for (int round = 0; round < 400; ++round) {
            std::vector<Row> next;
            const int count = random.bounded(24);
            next.reserve(std::size_t(count));
            for (int i = 0; i < count; ++i)
                next.push_back(
                    {QString(QChar(u'a' + char16_t(random.bounded(20)))), random.bounded(3)});
            std::vector<QPersistentModelIndex> kept;
            for (int i = 0; i < watched.model.rowCount(); ++i)
                kept.emplace_back(watched.model.index(i));
            const std::vector<Row> old = watched.model.rows();
            watched.model.setRows(next);
            QCOMPARE(watched.model.rows(), next);
            for (std::size_t i = 0; i < kept.size(); ++i) {
                const auto same = [&](const Row &row) { return row.key == old[i].key; };
                const auto before = std::ranges::count_if(old, same);
                // Every row of a key that is as frequent as before must have lived on.
                if (std::ranges::count_if(next, same) >= before)
                    QVERIFY(kept[i].isValid());
                if (kept[i].isValid())
                    QCOMPARE(next[std::size_t(kept[i].row())].key, old[i].key);
            }
        }
    }
};

QTEST_GUILESS_MAIN(RowListModelTest)
#include "row_list_model_test.moc"
