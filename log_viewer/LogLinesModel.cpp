#include "LogLinesModel.h"

#include "log_viewer/log_category.h"
#include "log_viewer/log_search.h"
#include "platform/dispatch/dispatch.h"

#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>

#include <algorithm>
#include <limits>
#include <utility>

#include <sys/stat.h>

namespace brisko {

LogLinesModel::LogLinesModel(QObject* parent) : QAbstractListModel(parent) {
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &LogLinesModel::refresh);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &LogLinesModel::refresh);
}

void LogLinesModel::open(const QString& path) {
    m_path = path;
    beginResetModel();
    load();
    endResetModel();
    watch();
}

void LogLinesModel::load() {
    ++m_generation;
    m_starts = {};
    m_indexedSize = 0;
    m_headPending = false;
    m_map = m_path.isEmpty() ? nullptr : MappedLog::open(m_path);
    if (!m_map || m_map->size() == 0) return;
    m_starts = indexTail(m_map->data(), m_map->size(), kTailLines);
    m_starts.shrink_to_fit();
    m_indexedSize = m_map->size();
    if (!m_starts.empty() && m_starts.front() > 0) indexHeadInBackground();
}

void LogLinesModel::indexHeadInBackground() {
    m_headPending = true;
    const auto map = m_map;
    const qint64 limit = m_starts.front();
    const quint64 generation = m_generation;
    QPointer<LogLinesModel> self(this);
    auto index = [self, map, limit, generation] {
        dispatchGlobalAsync([self, map, limit, generation] {
            LineStarts head = indexHead(map->data(), limit);
            dispatchMainAsync([self, generation, head = std::move(head)]() mutable {
                if (self) self->mergeHead(generation, std::move(head));
            });
        });
    };
    m_headIndexingStart ? m_headIndexingStart(index) : index();
}

void LogLinesModel::mergeHead(quint64 generation, LineStarts head) {
    if (generation != m_generation) return;
    const size_t added = head.size();
    LineStarts merged;
    merged.reserve(added + m_starts.size());
    merged.insert(merged.end(), head.begin(), head.end());
    head = {};
    merged.insert(merged.end(), m_starts.begin(), m_starts.end());
    beginInsertRows({}, 0, int(added) - 1);
    m_starts = std::move(merged);
    m_headPending = false;
    endInsertRows();
    emit fullyIndexed();
}

void LogLinesModel::watch() {
    if (m_path.isEmpty()) return;
    const QString folder = QFileInfo(m_path).absolutePath();
    if (!m_watcher.directories().contains(folder) && QFileInfo::exists(folder)) m_watcher.addPath(folder);
    // A replaced file is a new inode: watch it afresh.
    if (m_watcher.files().contains(m_path)) m_watcher.removePath(m_path);
    if (QFileInfo::exists(m_path)) m_watcher.addPath(m_path);
}

void LogLinesModel::refresh() {
    struct stat info {};
    if (::stat(QFile::encodeName(m_path).constData(), &info) != 0) return; // rotating: wait for the new one
    const bool replaced = !m_map || info.st_ino != m_map->inode() || info.st_dev != m_map->device();
    if (replaced || info.st_size < m_indexedSize) {
        beginResetModel();
        load();
        endResetModel();
        watch();
        emit reloaded();
    } else if (info.st_size > m_indexedSize) {
        grow();
    }
}

void LogLinesModel::grow() {
    auto bigger = m_map->remapped();
    if (!bigger || bigger->size() <= m_indexedSize) return;
    const qint64 oldSize = m_indexedSize;
    const int oldRows = rowCount();
    m_map = std::move(bigger);
    m_indexedSize = m_map->size();
    const bool lastLineGrew = appendLines(m_starts, m_map->data(), oldSize, m_indexedSize);
    if (lastLineGrew && oldRows > 0) emit dataChanged(index(oldRows - 1), index(oldRows - 1));
    if (rowCount() > oldRows) {
        beginInsertRows({}, oldRows, rowCount() - 1);
        endInsertRows();
    }
    emit linesAppended();
}

bool LogLinesModel::clear() {
    beginResetModel();
    ++m_generation;
    m_map.reset();
    m_starts = {};
    m_indexedSize = 0;
    m_headPending = false;
    endResetModel();
    if (m_path.isEmpty()) return false;
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || !file.commit()) {
        qCDebug(lcLogViewer) << "cannot clear" << m_path << file.errorString();
        return false;
    }
    m_map = MappedLog::open(m_path);
    watch();
    return true;
}

int LogLinesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_starts.size());
}

QVariant LogLinesModel::data(const QModelIndex& index, int role) const {
    const qint64 line = index.row();
    switch (role) {
    case Qt::DisplayRole:
    case TextRole:
        return lineText(line);
    case MatchRole:
        return matchesIn(line);
    case SelectionRole:
        return selectionIn(line);
    case FontFamilyRole:
        return m_fontFamily;
    case FontPixelSizeRole:
        return m_fontPixelSize;
    default:
        return {};
    }
}

QHash<int, QByteArray> LogLinesModel::roleNames() const {
    return {{TextRole, "text"},
            {MatchRole, "matches"},
            {SelectionRole, "selection"},
            {FontFamilyRole, "fontFamily"},
            {FontPixelSizeRole, "fontPixelSize"}};
}

QVariantList LogLinesModel::selectionIn(qint64 line) const {
    if (m_selectionFirst < 0 || line < m_selectionFirst || line > m_selectionLast) return {0, 0};
    const int from = line == m_selectionFirst ? m_selectionFirstColumn : 0;
    const int to = line == m_selectionLast ? m_selectionLastColumn : std::numeric_limits<int>::max();
    return {from, to};
}

void LogLinesModel::rowsChanged(qint64 first, qint64 last, const QList<int>& roles) {
    first = std::max<qint64>(first, 0);
    last = std::min<qint64>(last, rowCount() - 1);
    if (first <= last) emit dataChanged(index(int(first)), index(int(last)), roles);
}

QVariantList LogLinesModel::matchesIn(qint64 line) const {
    QVariantList spans;
    if (m_findNeedle.isEmpty() || !m_map) return spans;
    const QByteArrayView bytes = lineBytes(m_starts, m_map->data(), m_indexedSize, line);
    const qint64 lineStart = lineStartOffset(line);
    for (qint64 offset : matchesInLine(bytes, m_findNeedle, m_findCaseSensitive)) {
        const auto from = QString::fromUtf8(bytes.first(offset)).size();
        const auto length = QString::fromUtf8(bytes.sliced(offset, m_findNeedle.size())).size();
        spans << QVariantMap{
            {"from", from}, {"to", from + length}, {"current", lineStart + offset == m_currentMatch}};
    }
    return spans;
}

void LogLinesModel::setFind(const QByteArray& needle, bool caseSensitive) {
    if (needle == m_findNeedle && caseSensitive == m_findCaseSensitive) return;
    m_findNeedle = needle;
    m_findCaseSensitive = caseSensitive;
    rowsChanged(0, rowCount() - 1, {MatchRole});
}

void LogLinesModel::setCurrentMatch(qint64 offset) {
    const qint64 old = m_currentMatch;
    m_currentMatch = offset;
    if (old >= 0) rowsChanged(lineAtOffset(old), lineAtOffset(old), {MatchRole});
    if (offset >= 0) rowsChanged(lineAtOffset(offset), lineAtOffset(offset), {MatchRole});
}

void LogLinesModel::setSelection(qint64 anchorLine, int anchorColumn, qint64 line, int column) {
    const qint64 oldFirst = m_selectionFirst;
    const qint64 oldLast = m_selectionLast;
    if (std::pair(line, column) < std::pair(anchorLine, anchorColumn)) {
        std::swap(line, anchorLine);
        std::swap(column, anchorColumn);
    }
    m_selectionFirst = anchorLine;
    m_selectionFirstColumn = anchorColumn;
    m_selectionLast = line;
    m_selectionLastColumn = column;
    if (oldFirst >= 0) rowsChanged(oldFirst, oldLast, {SelectionRole});
    if (anchorLine >= 0) rowsChanged(anchorLine, line, {SelectionRole});
}

void LogLinesModel::setFont(const QString& family, int pixelSize) {
    m_fontFamily = family;
    m_fontPixelSize = pixelSize;
    rowsChanged(0, rowCount() - 1, {FontFamilyRole, FontPixelSizeRole});
}

QString LogLinesModel::lineText(qint64 line) const {
    if (!m_map) return {};
    const QByteArrayView bytes = lineBytes(m_starts, m_map->data(), m_indexedSize, line);
    return QString::fromUtf8(bytes);
}

QString LogLinesModel::wholeText() const {
    if (!m_map) return {};
    return QString::fromUtf8(m_map->data(), m_indexedSize);
}

qint64 LogLinesModel::lineStartOffset(qint64 line) const {
    if (line < 0 || line >= qint64(m_starts.size())) return m_indexedSize;
    return m_starts[size_t(line)];
}

qint64 LogLinesModel::lineAtOffset(qint64 offset) const {
    return brisko::lineAtOffset(m_starts, offset);
}

} // namespace brisko
