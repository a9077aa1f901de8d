#include "commands.h"

#include "cli/zip_writer.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <cstdio>

namespace brisko::cli {
namespace {

double mebibytes(qint64 bytes) {
    return double(bytes) / (1024 * 1024);
}

void writeOut(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace

int pushProject(LinkClient& client, const QString& folder) {
    const ProjectPlan plan = planProject(folder);
    if (!plan.error.isEmpty()) {
        std::fprintf(stderr, "brisko-cli: %s\n", qPrintable(plan.error));
        return kUsage;
    }
    // One line, rewritten in place, so a terminal shows the upload moving.
    qint64 sent = 0;
    const auto writer = [&](const ByteSink& sink) {
        return writeProjectZip(plan, [&](const char* data, size_t size) {
            sent += qint64(size);
            std::fprintf(stderr, "\rpushing %.1f / %.1f MiB (%d%%)", mebibytes(sent),
                         mebibytes(plan.archiveBytes), int(sent * 100 / plan.archiveBytes));
            return sink(data, size);
        });
    };
    const LinkReply reply = client.upload(QStringLiteral("/v1/project"), plan.archiveBytes, writer);
    std::fprintf(stderr, "\n");
    if (!reply.bodyError.isEmpty()) {
        std::fprintf(stderr, "brisko-cli: %s; nothing was replaced\n", qPrintable(reply.bodyError));
        return kUsage;
    }
    if (const int code = client.explain(reply); code != kOk) return code;
    std::printf("pushed %d files (%.1f MiB)\n", int(plan.files.size()), mebibytes(plan.archiveBytes));
    return kOk;
}

int sendCommand(LinkClient& client, const QString& command) {
    const LinkReply reply = client.send("POST", QStringLiteral("/v1/") + command);
    if (const int code = client.explain(reply); code != kOk) return code;
    const QString state = QJsonDocument::fromJson(reply.body).object().value("state").toString();
    // A stop is under way when it answers: the state the device reports may still be "running".
    std::printf("%s: ok (script %s)\n", qPrintable(command), qPrintable(state));
    return kOk;
}

int printLog(LinkClient& client, bool follow) {
    if (follow) return client.explain(client.stream(QStringLiteral("/v1/log?follow=1&offset=0"), writeOut));
    qint64 offset = 0;
    for (;;) {
        const LinkReply reply = client.send("GET", QStringLiteral("/v1/log?offset=%1").arg(offset));
        if (const int code = client.explain(reply); code != kOk) return code;
        if (reply.body.isEmpty()) return kOk;
        writeOut(reply.body);
        offset += reply.body.size();
    }
}

int saveScreenshot(LinkClient& client, const QString& file) {
    const LinkReply reply = client.send("GET", QStringLiteral("/v1/screenshot"));
    if (const int code = client.explain(reply); code != kOk) return code;
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(reply.body) != reply.body.size() || !out.commit()) {
        std::fprintf(stderr, "brisko-cli: cannot write %s\n", qPrintable(file));
        return kUsage;
    }
    std::printf("saved %s (%lld bytes)\n", qPrintable(file), static_cast<long long>(reply.body.size()));
    return kOk;
}

int printInfo(LinkClient& client) {
    const LinkReply reply = client.send("GET", QStringLiteral("/v1/info"));
    if (const int code = client.explain(reply); code != kOk) return code;
    writeOut(QJsonDocument::fromJson(reply.body).toJson(QJsonDocument::Indented));
    return kOk;
}

} // namespace brisko::cli
