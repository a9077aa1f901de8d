#include "log_viewer/BKLogViewController.h"
#include "tests/support/test_files.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QtTest>

using namespace brisko;
using namespace brisko::testing;

namespace {

class ToastRecordingLogViewer : public BKLogViewController {
  public:
    using BKLogViewController::BKLogViewController;
    QStringList toasts;

  protected:
    void showToast(const QString& text) override { toasts << text; }
};

QStringList rows(const LogLinesModel& model) {
    QStringList lines;
    for (int i = 0; i < model.rowCount(); ++i)
        lines << model.lineText(i);
    return lines;
}

} // namespace

class LogViewerTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_log;

  private slots:
    void init() { m_log = m_dir.filePath(QString("script-%1.log").arg(QDateTime::currentMSecsSinceEpoch())); }

    void opens_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("create");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("copyToast");
        QTest::newRow("missing") << QByteArray() << false << QStringList() << "日志为空";
        QTest::newRow("empty") << QByteArray() << true << QStringList() << "日志为空";
        QTest::newRow("utf-8") << QByteArray("开始\nend") << true << QStringList{"开始", "end"}
                               << "已复制到剪贴板";
        // Not UTF-8: shown with replacement characters rather than hidden.
        QTest::newRow("latin-1") << QByteArray("caf\xe9\n") << true << QStringList{"caf\uFFFD"}
                                 << "已复制到剪贴板";
    }
    void opens() {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, create);
        QFETCH(QStringList, lines);
        QFETCH(QString, copyToast);
        if (create) QVERIFY(writeFile(m_log, bytes));
        QGuiApplication::clipboard()->setText(QString("untouched"));
        ToastRecordingLogViewer viewer(m_log);
        viewer.loadLogFromFile();
        QCOMPARE(rows(*viewer.lines()), lines);
        viewer.copyLog();
        QCOMPARE(viewer.toasts, QStringList{copyToast});
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 lines.isEmpty() ? QString("untouched") : QString::fromUtf8(bytes));
    }

    // The part before the last screen is indexed on a worker and lands ahead of it.
    void bigLogIndexesInTwoSteps() {
        QByteArray bytes;
        for (int i = 0; i < 3000; ++i)
            bytes += "line " + QByteArray::number(i) + '\n';
        QVERIFY(writeFile(m_log, bytes));
        LogLinesModel model;
        model.open(m_log);
        QCOMPARE(model.rowCount(), int(LogLinesModel::kTailLines));
        QCOMPARE(model.lineText(model.rowCount() - 1), QString("line 2999"));
        QTRY_VERIFY(model.isFullyIndexed());
        QCOMPARE(model.rowCount(), 3000);
        QCOMPARE(model.lineText(0), QString("line 0"));
        QCOMPARE(model.lineText(2488), QString("line 2488"));
        QVERIFY(model.indexBytes() <= 8 * 3000);
    }

    void clearLeavesAnEmptyFile() {
        QVERIFY(writeFile(m_log, "a\nb\n"));
        ToastRecordingLogViewer viewer(m_log);
        viewer.loadLogFromFile();
        viewer.clearLog();
        QCOMPARE(viewer.lines()->rowCount(), 0);
        QCOMPARE(QFileInfo(m_log).size(), 0);
        QVERIFY(QFileInfo(m_log).exists());
        viewer.copyLog();
        QCOMPARE(viewer.toasts, QStringList{"日志为空"});
        // The daemon keeps writing after a clear.
        QVERIFY(writeFile(m_log, "after\n", QIODevice::Append));
        QTRY_COMPARE(rows(*viewer.lines()), QStringList{"after"});
    }

    void followsAppends() {
        QVERIFY(writeFile(m_log, "one\ntw"));
        LogLinesModel model;
        model.open(m_log);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QVERIFY(writeFile(m_log, "o\nthree\n", QIODevice::Append));
        QTRY_COMPARE(rows(model), (QStringList{"one", "two", "three"}));
        QCOMPARE(changed.size(), 1);
        QVERIFY(writeFile(m_log, "four", QIODevice::Append));
        QTRY_COMPARE(rows(model), (QStringList{"one", "two", "three", "four"}));
    }

    void picksUpAReplacedFile_data() {
        QTest::addColumn<bool>("rename");
        QTest::newRow("renamed over") << true;
        QTest::newRow("truncated in place") << false;
    }
    void picksUpAReplacedFile() {
        QFETCH(bool, rename);
        QVERIFY(writeFile(m_log, "old 1\nold 2\nold 3\n"));
        LogLinesModel model;
        model.open(m_log);
        QSignalSpy reloaded(&model, &LogLinesModel::reloaded);
        if (rename) QVERIFY(QFile::rename(m_log, m_log + ".1"));
        QVERIFY(writeFile(m_log, "new\n"));
        QTRY_COMPARE(rows(model), QStringList{"new"});
        QVERIFY(reloaded.size() >= 1);
    }

    void selectionSpansLines_data() {
        QTest::addColumn<QList<int>>("range");
        QTest::addColumn<QString>("text");
        QTest::newRow("within a line") << QList<int>{1, 1, 1, 3} << "lp";
        QTest::newRow("across lines") << QList<int>{0, 3, 2, 2} << "ha\nalpha\n日志";
        QTest::newRow("dragged upwards") << QList<int>{2, 2, 0, 3} << "ha\nalpha\n日志";
        QTest::newRow("past the end") << QList<int>{2, 0, 9, 99} << "日志行";
    }
    void selectionSpansLines() {
        QFETCH(QList<int>, range);
        QFETCH(QString, text);
        QVERIFY(writeFile(m_log, "alpha\nalpha\n日志行\n"));
        BKLogViewController viewer(m_log);
        viewer.loadLogFromFile();
        QCOMPARE(viewer.selectedText(range[0], range[1], range[2], range[3]), text);
        viewer.copySelection(range[0], range[1], range[2], range[3]);
        QCOMPARE(QGuiApplication::clipboard()->text(), text);
    }

    void findLandsOnLineAndColumn() {
        QVERIFY(writeFile(m_log, "first 日志 match\nnone\nsecond match\n"));
        BKLogViewController viewer(m_log);
        viewer.loadLogFromFile();
        viewer.find(QString("match"), true, 0);
        QTRY_COMPARE(viewer.matchLine(), 0);
        QCOMPARE(viewer.matchColumn(), 9);
        QCOMPARE(viewer.matchLength(), 5);
        viewer.find(QString("match"), true, 0);
        QTRY_COMPARE(viewer.matchLine(), 2);
        QCOMPARE(viewer.matchColumn(), 7);
        // Every match in a line is marked, the current one apart; case folds by default.
        viewer.find(QString("MATCH"), true, 1);
        QTRY_COMPARE(viewer.matchLine(), 2);
        const QVariantList marks =
            viewer.lines()->data(viewer.lines()->index(0), LogLinesModel::MatchRole).toList();
        QCOMPARE(marks.size(), 1);
        QCOMPARE(marks[0].toMap().value("from").toInt(), 9);
        QCOMPARE(marks[0].toMap().value("current").toBool(), false);
        viewer.setCaseSensitive(true);
        QTRY_COMPARE(viewer.findStatus(), QString("无匹配"));
        viewer.setCaseSensitive(false);
        viewer.find(QString("absent"), false, 0);
        QTRY_COMPARE(viewer.findStatus(), QString("无匹配"));
        QCOMPARE(viewer.matchLine(), -1);
    }
};

QTEST_MAIN(LogViewerTest)
#include "tst_log_viewer.moc"
