#include "debug_log.h"

#include "file_manager/zip/diagnostics.h"

#include <QLoggingCategory>

namespace brisko {
namespace {

Q_LOGGING_CATEGORY(lcZip, "brisko.zip", QtInfoMsg)

void logSkip(std::string_view entry, const char* reason) {
    qCDebug(lcZip) << "skipped" << QString::fromUtf8(entry.data(), qsizetype(entry.size())) << ':' << reason;
}

} // namespace

void BKInstallZipDebugLog() {
    zip::setSkipSink(logSkip);
}

} // namespace brisko
