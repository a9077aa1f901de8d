#include "log_viewer/line_index.h"
#include "log_viewer/log_search.h"

#include <QtTest>

using namespace brisko;

namespace {

QStringList linesOf(const LineStarts& starts, const QByteArray& data) {
    QStringList lines;
    for (qint64 i = 0; i < qint64(starts.size()); ++i)
        lines << QString::fromUtf8(lineBytes(starts, data.constData(), data.size(), i));
    return lines;
}

} // namespace

class LogIndexTest : public QObject {
    Q_OBJECT

  private slots:
    void tailAndHeadMeet_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("empty") << QByteArray() << QStringList();
        QTest::newRow("final newline") << QByteArray("a\nbb\nccc\n") << QStringList{"a", "bb", "ccc"};
        QTest::newRow("no final newline") << QByteArray("a\nbb\nccc") << QStringList{"a", "bb", "ccc"};
        QTest::newRow("crlf") << QByteArray("a\r\nbb\r\n\r\nc") << QStringList{"a", "bb", "", "c"};
        QTest::newRow("only newlines") << QByteArray("\n\n\n") << QStringList{"", "", ""};
        QTest::newRow("one line") << QByteArray("x") << QStringList{"x"};
        QTest::newRow("lone cr kept mid-line") << QByteArray("a\rb\n") << QStringList{"a\rb"};
    }
    // Whatever split the tail takes, head + tail is the whole index.
    void tailAndHeadMeet() {
        QFETCH(QByteArray, data);
        QFETCH(QStringList, lines);
        for (qint64 tailLines = 1; tailLines <= lines.size() + 1; ++tailLines) {
            LineStarts tail = indexTail(data.constData(), data.size(), tailLines);
            QCOMPARE(qint64(tail.size()), std::min<qint64>(tailLines, lines.size()));
            LineStarts all = indexHead(data.constData(), tail.empty() ? 0 : tail.front());
            all.insert(all.end(), tail.begin(), tail.end());
            QCOMPARE(linesOf(all, data), lines);
        }
    }

    void appendingMatchesIndexingAtOnce_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("added");
        QTest::addColumn<bool>("lastLineGrew");
        QTest::newRow("to empty") << QByteArray() << QByteArray("a\nb") << false;
        QTest::newRow("after newline") << QByteArray("a\n") << QByteArray("b\nc\n") << false;
        QTest::newRow("completes a line") << QByteArray("a\npart") << QByteArray("ial\nnext") << true;
        QTest::newRow("newline only") << QByteArray("a") << QByteArray("\n") << true;
        QTest::newRow("crlf split") << QByteArray("a\r") << QByteArray("\nb") << true;
    }
    void appendingMatchesIndexingAtOnce() {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, added);
        QFETCH(bool, lastLineGrew);
        const QByteArray whole = before + added;
        LineStarts starts = indexHead(before.constData(), before.size());
        QCOMPARE(appendLines(starts, whole.constData(), before.size(), whole.size()), lastLineGrew);
        QCOMPARE(linesOf(starts, whole), linesOf(indexHead(whole.constData(), whole.size()), whole));
    }

    void lineAtOffset() {
        const QByteArray data("ab\ncd\n\nef");
        const LineStarts starts = indexHead(data.constData(), data.size());
        const QList<qint64> expected{0, 0, 0, 1, 1, 1, 2, 3, 3};
        for (qint64 offset = 0; offset < data.size(); ++offset)
            QCOMPARE(brisko::lineAtOffset(starts, offset), expected[offset]);
    }

    void find_data() {
        QTest::addColumn<qint64>("from");
        QTest::addColumn<bool>("forward");
        QTest::addColumn<qint64>("expected");
        // "needle" sits at 10, across the 1 MiB seam and at the very end.
        const qint64 seam = (1 << 20) - 3;
        const qint64 last = (3 << 20) - 6;
        QTest::newRow("forward from start") << qint64(0) << true << qint64(10);
        QTest::newRow("forward finds the seam") << qint64(11) << true << seam;
        QTest::newRow("forward finds the end") << seam + 1 << true << last;
        QTest::newRow("forward wraps") << last + 1 << true << qint64(10);
        QTest::newRow("backward from end") << qint64(3 << 20) << false << last;
        QTest::newRow("backward finds the seam") << last << false << seam;
        QTest::newRow("backward finds the first") << seam << false << qint64(10);
        QTest::newRow("backward wraps") << qint64(10) << false << last;
    }
    void find() {
        QFETCH(qint64, from);
        QFETCH(bool, forward);
        QFETCH(qint64, expected);
        QByteArray data(3 << 20, 'x');
        for (qint64 at : {qint64(10), qint64((1 << 20) - 3), qint64((3 << 20) - 6)})
            data.replace(at, 6, "needle");
        QCOMPARE(findInLog(data.constData(), data.size(), "needle", from, forward), expected);
    }

    void foldsAsciiCaseOnly_data() {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("needle");
        QTest::addColumn<bool>("caseSensitive");
        QTest::addColumn<QList<qint64>>("offsets");
        QTest::newRow("folded") << QByteArray("Error error ERROR") << QByteArray("eRRor") << false
                                << QList<qint64>{0, 6, 12};
        QTest::newRow("exact") << QByteArray("Error error ERROR") << QByteArray("error") << true
                               << QList<qint64>{6};
        QTest::newRow("not overlapping")
            << QByteArray("aaaa") << QByteArray("aa") << false << QList<qint64>{0, 2};
        QTest::newRow("cjk exact") << QByteArray("找色失败 找色") << QByteArray("找色") << false
                                   << QList<qint64>{0, 13};
        // Only ASCII folds: an accented capital is another letter.
        QTest::newRow("accents exact") << QByteArray("É é") << QByteArray("é") << false << QList<qint64>{3};
        QTest::newRow("at the very end")
            << QByteArray("xxAB") << QByteArray("ab") << false << QList<qint64>{2};
    }
    void foldsAsciiCaseOnly() {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, needle);
        QFETCH(bool, caseSensitive);
        QFETCH(QList<qint64>, offsets);
        QCOMPARE(matchesInLine(line, needle, caseSensitive), offsets);
        QCOMPARE(findInLog(line.constData(), line.size(), needle, line.size(), false, caseSensitive),
                 offsets.isEmpty() ? -1 : offsets.last());
    }

    void findWithoutMatch() {
        const QByteArray data("short");
        QCOMPARE(findInLog(data.constData(), data.size(), "longer than data", 0, true), -1);
        QCOMPARE(findInLog(data.constData(), data.size(), "zz", 3, false), -1);
        QCOMPARE(findInLog(data.constData(), data.size(), "", 0, true), -1);
        QCOMPARE(findInLog(nullptr, 0, "a", 0, false), -1);
    }
};

QTEST_APPLESS_MAIN(LogIndexTest)
#include "tst_log_index.moc"
