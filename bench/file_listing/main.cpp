// A folder of 10,000 entries (files, and folders with children) listed into item records and
// sorted, against `ls -la` of the same folder run as a whole process. Both see a warm cache.
#include "file_manager/file_listing.h"
#include "run_peer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int kFolders = 2000;
constexpr int kFiles = 8000;
constexpr int kChildrenPerFolder = 3;

void makeTree(const QString& root) {
    QDir dir(root);
    for (int i = 0; i < kFolders; ++i) {
        const QString folder = QStringLiteral("Folder %1").arg(i);
        dir.mkdir(folder);
        for (int c = 0; c < kChildrenPerFolder; ++c) {
            QFile child(dir.filePath(folder + QStringLiteral("/c%1").arg(c)));
            child.open(QIODevice::WriteOnly);
        }
    }
    for (int i = 0; i < kFiles; ++i) {
        // Mixed case, and some names beyond ASCII, as a user's folder has them.
        const QString name =
            i % 10 == 0 ? QStringLiteral("Über-Datei %1.TXT").arg(i) : QStringLiteral("file_%1.log").arg(i);
        QFile file(dir.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(QByteArray(i % 4096, 'x'));
    }
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    makeTree(dir.path());
    constexpr int runs = 15;
    qsizetype listed = 0;
    const double ours =
        brisko::bench::medianMs(runs, [&] { listed = brisko::BKListFolder(dir.path()).size(); });
    bool peerOk = true;
    const double peer = brisko::bench::medianMs(runs, [&] {
        peerOk =
            brisko::bench::runQuietly({QStringLiteral("ls"), QStringLiteral("-la"), dir.path()}) && peerOk;
    });
    if (!peerOk || listed != kFolders + kFiles) {
        std::fprintf(stderr, "listing failed: %lld entries, ls %s\n", qlonglong(listed),
                     peerOk ? "ok" : "failed");
        return 1;
    }
    std::printf("entries: %d (%d folders with %d children each, %d files); median of %d runs\n",
                kFolders + kFiles, kFolders, kChildrenPerFolder, kFiles, runs);
    std::printf("ours (BKListFolder, records + sort): %.2f ms\n", ours);
    std::printf("peer (ls -la, whole process):        %.2f ms\n", peer);
    std::printf("ratio listing/ls: %.2f\n", ours / peer);
    return 0;
}
