// Opening a 1 MB and a 10 MB text file to the first frame: the editor screen against a
// QPlainTextEdit on the same file, in the same run.

#include "bench/support/screen_push.h"
#include "file_manager/editor/FBTextEditorViewController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace brisko;

namespace {

constexpr int kRuns = 5;

QString writeSource(const QString& folder, qint64 megabytes) {
    const QString path = folder + QStringLiteral("/source-%1MB.lua").arg(megabytes);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("cannot write %s", qPrintable(path));
    for (qint64 n = 0; file.size() < megabytes << 20; ++n)
        file.write("local point" + QByteArray::number(n) + " = { x = " + QByteArray::number(n % 390) +
                   ", y = " + QByteArray::number(n % 844) + " } -- 点 " + QByteArray::number(n) + "\n");
    return path;
}

double openOurs(bench::ScreenPush& push, const QString& path) {
    const double ms = push.time<FBTextEditorViewController>(
        [&] { return new FBTextEditorViewController(path); },
        // The frame must hold the whole file.
        [](FBTextEditorViewController* editor) { return editor->document()->blockCount() > 1000; });
    push.pop();
    return ms;
}

class TimedPlainTextEdit : public QPlainTextEdit {
  public:
    QEventLoop* painted = nullptr;

  protected:
    void paintEvent(QPaintEvent* event) override {
        QPlainTextEdit::paintEvent(event);
        if (painted) painted->quit();
    }
};

double openPeer(const QString& path) {
    QElapsedTimer timer;
    timer.start();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) qFatal("cannot read %s", qPrintable(path));
    TimedPlainTextEdit edit;
    QEventLoop loop;
    edit.painted = &loop;
    edit.setLineWrapMode(QPlainTextEdit::NoWrap);
    edit.setPlainText(QString::fromUtf8(file.readAll()));
    edit.resize(390, 800);
    edit.show();
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    loop.exec();
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QTemporaryDir folder;
    bench::ScreenPush push;
    const QString warmUp = writeSource(folder.path(), 1);
    std::printf("editor first open (QML loaded): %.1f ms\n", openOurs(push, warmUp));
    openPeer(warmUp);
    for (qint64 megabytes : {1, 10}) {
        const QString path = writeSource(folder.path(), megabytes);
        QList<double> ours, peer;
        for (int i = 0; i < kRuns; ++i) {
            ours << openOurs(push, path);
            peer << openPeer(path);
        }
        const double ratio = bench::median(ours) / bench::median(peer);
        std::printf("editor %lldMB: ours %.1f ms, QPlainTextEdit %.1f ms, ratio %.2f (median of %d)\n",
                    megabytes, bench::median(ours), bench::median(peer), ratio, kRuns);
    }
    return 0;
}
