// bench_bundle_digest: hashes a synthetic bundle of about 2,000 files and 200 MB with the bundle
// digest, and the same file bytes in the same order with `cat | md5sum`, `cat | openssl md5` and
// `md5sum FILES`, interleaved, warm cache; prints the medians and the ratios. With the
// application built, it also times launches from process start to the first frame with that
// bundle deployed.

#include "app/assets/digest.h"
#include "bench/bundle_digest/first_frame.h"
#include "bench/bundle_digest/sample_bundle.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>

using namespace brisko;
using namespace brisko::bench;

namespace {
struct Options {
    int files = 2000;
    qint64 megabytes = 200;
    int rounds = 5;
    QString application;
};

Options parseOptions(const QCoreApplication& app) {
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{"files", "Files in the bundle.", "N", "2000"},
                       {"megabytes", "Total size in MB.", "MB", "200"},
                       {"rounds", "Timed rounds per tool.", "N", "5"},
                       {"app", "Application to time to first frame.", "PATH", BRISKO_BUNDLE_DIR "/brisko"}});
    parser.process(app);
    return {parser.value("files").toInt(), parser.value("megabytes").toLongLong(),
            parser.value("rounds").toInt(), parser.value("app")};
}

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

double timeOurDigest(const QString& root, QString& digest) {
    QElapsedTimer clock;
    clock.start();
    BKMD5Context context;
    BKMD5UpdateDirectoryTree(&context, root);
    digest = context.finalHex();
    return clock.nsecsElapsed() / 1e9;
}

// Each peer is a shell command over the file paths in "$@", in digest order.
struct Peer {
    const char* label;
    const char* script;
};
// The pipelines hash the same byte stream as the digest minus the names; "md5sum FILES" reads
// the files itself in one process, which a busy machine slows less than a pipeline.
constexpr Peer kPeers[] = {{"cat | md5sum", "cat -- \"$@\" | md5sum"},
                           {"cat | openssl md5", "cat -- \"$@\" | openssl md5"},
                           {"md5sum FILES", "md5sum -- \"$@\""}};

double timePeer(const Peer& peer, const QList<QByteArray>& files) {
    QStringList arguments{"-c", QString::fromLatin1(peer.script) + " >/dev/null", "sh"};
    for (const QByteArray& file : files)
        arguments.append(QFile::decodeName(file));
    QElapsedTimer clock;
    clock.start();
    QProcess process;
    process.start("/bin/sh", arguments);
    const bool ok = process.waitForFinished(-1) && process.exitCode() == 0;
    return ok ? clock.nsecsElapsed() / 1e9 : -1;
}

struct Throughputs {
    QList<double> ours;
    QList<QList<double>> peers{std::size(kPeers)};
};

Throughputs measure(const QString& root, const SampleBundle& sample, int rounds, QString& digest) {
    const double mb = sample.bytes / 1e6;
    timeOurDigest(root, digest); // warm the page cache and the binaries
    for (const Peer& peer : kPeers)
        timePeer(peer, sample.files);
    Throughputs t;
    for (int i = 0; i < rounds; ++i) {
        t.ours.append(mb / timeOurDigest(root, digest));
        for (std::size_t p = 0; p < std::size(kPeers); ++p)
            t.peers[p].append(mb / timePeer(kPeers[p], sample.files));
    }
    return t;
}

// Other work on the machine slows the two-process pipelines more than the digest.
QByteArray loadAverage() {
    QFile file("/proc/loadavg");
    return file.open(QIODevice::ReadOnly) ? file.readLine().trimmed() : QByteArray("unknown");
}

void reportThroughput(const SampleBundle& sample, const Throughputs& t, const QString& digest) {
    const double ours = median(t.ours);
    const double md5sum = median(t.peers[0]);
    std::printf("load average: %s (on %d cores)\n", loadAverage().constData(), QThread::idealThreadCount());
    std::printf("bundle: %lld files, %.1f MB of file content, digest %s\n", qlonglong(sample.files.size()),
                sample.bytes / 1e6, qPrintable(digest));
    std::printf("median of %lld warm rounds, interleaved (MB/s, ratio = digest / peer):\n",
                qlonglong(t.ours.size()));
    std::printf("  %-20s %8.1f\n", "bundle digest", ours);
    for (std::size_t p = 0; p < std::size(kPeers); ++p) {
        const double peer = median(t.peers[p]);
        std::printf("  %-20s %8.1f   ratio %.3f\n", kPeers[p].label, peer, ours / peer);
    }
    std::printf("target digest >= 0.95 x cat | md5sum: %s (%.3f)\n",
                ours >= 0.95 * md5sum ? "met" : "NOT met", ours / md5sum);
}

void printLaunches(const char* label, const QList<double>& times) {
    std::printf("  %-28s median of %lld launches %7.1f ms  (min %.1f, max %.1f)\n", label,
                qlonglong(times.size()), median(times), *std::min_element(times.begin(), times.end()),
                *std::max_element(times.begin(), times.end()));
}

// The same application in a bundle with nothing else shows what the digest adds to a launch.
void reportFirstFrame(const QString& application, const QString& root, int rounds) {
    if (!QFileInfo(application).isExecutable()) {
        std::printf("first frame: no application at %s, not measured\n", qPrintable(application));
        return;
    }
    QTemporaryDir bare;
    const QList<double> big = timeToFirstFrame(application, root, rounds);
    const QList<double> small = timeToFirstFrame(application, bare.path(), rounds);
    if (big.isEmpty() || small.isEmpty() || median(big) < 0 || median(small) < 0) {
        std::printf("first frame: %s reported no frame, not measured\n", qPrintable(application));
        return;
    }
    std::printf("first frame (process start to first rendered frame, offscreen, bundle deployed):\n");
    printLaunches("with the sample bundle", big);
    printLaunches("with only the application", small);
}
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const Options options = parseOptions(app);
    QTemporaryDir dir;
    const QString root = dir.filePath("bundle");
    writeSampleBundle(root, options.files, options.megabytes * 1000 * 1000);
    const SampleBundle sample = listInDigestOrder(root);
    QString digest;
    const Throughputs t = measure(root, sample, options.rounds, digest);
    reportThroughput(sample, t, digest);
    reportFirstFrame(options.application, root, options.rounds);
    return 0;
}
