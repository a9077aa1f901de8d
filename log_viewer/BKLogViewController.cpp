#include "BKLogViewController.h"

#include "app/feedback/feedback.h"
#include "app/status/app_references.h"
#include "log_viewer/log_search.h"
#include "platform/dispatch/dispatch.h"
#include "platform/ui/window.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <QQuickWindow>
#include <QStringList>

#include <algorithm>
#include <memory>
#include <utility>

namespace brisko {

namespace {
inline const QString kCopyItem = QStringLiteral("copy");
inline const QString kClearItem = QStringLiteral("clear");

// Indexing the lines above the last screen competes with building the frame that shows it, so
// it waits for that frame (or a moment, where nothing is drawn).
void afterNextFrame(QObject* context, const std::function<void()>& fn) {
    ui::Window* window = ui::keyWindow();
    if (!window) return fn();
    auto once = std::make_shared<std::function<void()>>(fn);
    auto run = [once] {
        if (auto pending = std::exchange(*once, nullptr)) pending();
    };
    QObject::connect(window->quickWindow(), &QQuickWindow::frameSwapped, context, run,
                     Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    dispatchMainAfter(0.25, run);
}
} // namespace

BKLogViewController::BKLogViewController(const QString& path) : m_path(path.isEmpty() ? _logFilePath : path) {
    setTitle(QStringLiteral("运行日志"));
    setRightBarItems(
        {QVariantMap{{"text", QStringLiteral("复制")}, {"tint", "systemBlue"}, {"id", kCopyItem}},
         QVariantMap{{"text", QStringLiteral("清空")}, {"tint", "systemRed"}, {"id", kClearItem}}});
    // A reloaded log invalidates where the last match was.
    connect(&m_lines, &LogLinesModel::reloaded, this, [this] { setMatch(-1, 0, 0, -1); });
    m_lines.setFont(logFontFamily(), logFontPixelSize());
    m_lines.setHeadIndexingStart([this](const std::function<void()>& start) { afterNextFrame(this, start); });
}

QUrl BKLogViewController::viewUrl() const {
    return moduleViewUrl("LogViewer", "LogView.qml");
}

void BKLogViewController::viewDidLoad() {
    loadLogFromFile();
}

QFont BKLogViewController::logFont() const {
    if (_logFont.pixelSize() > 0) return _logFont;
    QFont font(QStringLiteral("monospace"));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(12);
    return font;
}

void BKLogViewController::loadLogFromFile() {
    m_lines.open(m_path);
}

void BKLogViewController::barItemTapped(const QString& id) {
    if (id == kCopyItem) copyLog();
    if (id == kClearItem) clearLog();
}

void BKLogViewController::copyLog() {
    const QString text = m_lines.wholeText();
    if (text.isEmpty()) {
        showToast(QStringLiteral("日志为空"));
        return;
    }
    QGuiApplication::clipboard()->setText(text);
    showToast(QStringLiteral("已复制到剪贴板"));
}

void BKLogViewController::clearLog() {
    setMatch(-1, 0, 0, -1);
    m_lines.clear();
}

void BKLogViewController::showToast(const QString& text) {
    if (QQuickItem* host = isViewLoaded() ? view() : nullptr) BKShowToast(host, text);
}

QString BKLogViewController::selectedText(int anchorLine, int anchorColumn, int line, int column) const {
    if (std::pair(line, column) < std::pair(anchorLine, anchorColumn)) {
        std::swap(line, anchorLine);
        std::swap(column, anchorColumn);
    }
    anchorLine = std::max(anchorLine, 0);
    line = std::min(line, m_lines.rowCount() - 1);
    QStringList parts;
    for (int at = anchorLine; at <= line; ++at) {
        QString text = m_lines.lineText(at);
        if (at == line) text.truncate(std::max(column, 0));
        if (at == anchorLine) text.remove(0, std::max(anchorColumn, 0));
        parts << text;
    }
    return parts.join(QLatin1Char('\n'));
}

void BKLogViewController::setSelection(int anchorLine, int anchorColumn, int line, int column) {
    m_lines.setSelection(anchorLine, anchorColumn, line, column);
}

void BKLogViewController::copySelection(int anchorLine, int anchorColumn, int line, int column) {
    const QString text = selectedText(anchorLine, anchorColumn, line, column);
    if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
}

void BKLogViewController::beginFind() {
    m_findActive = true;
    emit findActiveChanged();
}

void BKLogViewController::find(const QString& text, bool forward, int fromLine) {
    const QByteArray needle = text.toUtf8();
    const auto map = m_lines.mapping();
    if (needle.isEmpty() || !map) {
        endFind();
        return;
    }
    qint64 from = m_lines.lineStartOffset(std::max(fromLine, 0));
    if (text == m_findText && m_matchOffset >= 0) from = forward ? m_matchOffset + 1 : m_matchOffset;
    m_findText = text;
    if (!m_findActive) beginFind();
    m_lines.setFind(needle, m_caseSensitive);
    const quint64 search = ++m_searchId;
    m_searching = true;
    emit searchingChanged();
    QPointer<BKLogViewController> self(this);
    const bool caseSensitive = m_caseSensitive;
    dispatchGlobalAsync([self, map, needle, from, forward, search, caseSensitive] {
        const qint64 offset = findInLog(map->data(), map->size(), needle, from, forward, caseSensitive);
        dispatchMainAsync([self, search, offset, needle] {
            if (self) self->applyFindResult(search, offset, needle);
        });
    });
}

void BKLogViewController::applyFindResult(quint64 search, qint64 offset, const QByteArray& needle) {
    if (search != m_searchId) return;
    // The rest of the index is still being built: try again once it is there.
    if (offset >= 0 && !m_lines.isFullyIndexed() && offset < m_lines.lineStartOffset(0)) {
        connect(
            &m_lines, &LogLinesModel::fullyIndexed, this,
            [this, search, offset, needle] { applyFindResult(search, offset, needle); },
            Qt::SingleShotConnection);
        return;
    }
    m_searching = false;
    emit searchingChanged();
    if (offset < 0) {
        m_findStatus = QStringLiteral("无匹配");
        setMatch(-1, 0, 0, -1);
        return;
    }
    const qint64 line = m_lines.lineAtOffset(offset);
    const auto map = m_lines.mapping();
    const qint64 lineStart = m_lines.lineStartOffset(line);
    const int column = int(QString::fromUtf8(map->data() + lineStart, offset - lineStart).size());
    m_findStatus.clear();
    setMatch(int(line), column, int(QString::fromUtf8(needle).size()), offset);
}

void BKLogViewController::setCaseSensitive(bool caseSensitive) {
    if (m_caseSensitive == caseSensitive) return;
    m_caseSensitive = caseSensitive;
    emit findActiveChanged();
    // The same text under the other rule is a new search.
    const QString text = std::exchange(m_findText, QString());
    if (!text.isEmpty()) find(text, true, m_matchLine);
}

void BKLogViewController::endFind() {
    ++m_searchId;
    m_findText.clear();
    m_findActive = false;
    emit findActiveChanged();
    m_findStatus.clear();
    m_lines.setFind({}, m_caseSensitive);
    if (m_searching) {
        m_searching = false;
        emit searchingChanged();
    }
    setMatch(-1, 0, 0, -1);
}

void BKLogViewController::setMatch(int line, int column, int length, qint64 offset) {
    m_lines.setCurrentMatch(offset);
    m_matchLine = line;
    m_matchColumn = column;
    m_matchLength = length;
    m_matchOffset = offset;
    emit matchChanged();
}

} // namespace brisko
