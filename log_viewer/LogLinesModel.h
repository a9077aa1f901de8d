#pragma once
// The log as a list of lines over a mapping of the file: only the lines a view asks for are
// decoded. The last screen is indexed first and the rest on a worker, and the model follows
// the file as the daemon appends to it, clears it or rotates it.

#include "log_viewer/line_index.h"
#include "log_viewer/mapped_log.h"

#include <QAbstractListModel>
#include <QFileSystemWatcher>
#include <QString>

#include <functional>
#include <memory>

namespace brisko {

class LogLinesModel : public QAbstractListModel {
    Q_OBJECT

  public:
    enum Role { TextRole = Qt::UserRole + 1, MatchRole, SelectionRole, FontFamilyRole, FontPixelSizeRole };
    // Lines indexed before the model first answers: more than any screen shows.
    static constexpr qint64 kTailLines = 512;

    explicit LogLinesModel(QObject* parent = nullptr);

    void open(const QString& path);
    // Where the lines above the last screen wait before they are indexed; at once by default.
    void setHeadIndexingStart(std::function<void(std::function<void()>)> start) {
        m_headIndexingStart = std::move(start);
    }
    // Replaces the file by an empty one (atomically) and empties the model. False when the
    // file could not be replaced; the model is empty either way.
    bool clear();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Bytes that are not UTF-8 come out as replacement characters.
    QString lineText(qint64 line) const;
    QString wholeText() const;
    bool isEmpty() const { return m_starts.empty(); }
    bool isFullyIndexed() const { return !m_headPending; }
    qint64 lineStartOffset(qint64 line) const;
    qint64 lineAtOffset(qint64 offset) const;
    std::shared_ptr<const MappedLog> mapping() const { return m_map; }
    // Heap memory the index holds.
    qint64 indexBytes() const { return qint64(m_starts.capacity() * sizeof(uint32_t)); }

    // What a line shows besides its text: every match of the find text (maps with the character
    // span "from", "to" and whether it is the "current" one, the match at a byte offset of the
    // log) and the selection as a span [from, to), `to` past the end meaning the line's end.
    void setFind(const QByteArray& needle, bool caseSensitive);
    void setCurrentMatch(qint64 offset);
    void setSelection(qint64 anchorLine, int anchorColumn, qint64 line, int column);
    void setFont(const QString& family, int pixelSize);

    // Looks at the file again: appended lines, a truncated or replaced file.
    void refresh();

  signals:
    void linesAppended();
    void reloaded();
    void fullyIndexed();

  private:
    void load();
    void indexHeadInBackground();
    void mergeHead(quint64 generation, LineStarts head);
    void grow();
    void watch();
    void rowsChanged(qint64 first, qint64 last, const QList<int>& roles);
    QVariantList selectionIn(qint64 line) const;
    QVariantList matchesIn(qint64 line) const;

    QString m_path;
    std::function<void(std::function<void()>)> m_headIndexingStart;
    std::shared_ptr<const MappedLog> m_map;
    LineStarts m_starts;
    qint64 m_indexedSize = 0;
    bool m_headPending = false;
    quint64 m_generation = 0;
    QFileSystemWatcher m_watcher;
    QByteArray m_findNeedle;
    bool m_findCaseSensitive = false;
    qint64 m_currentMatch = -1;
    // Ordered so that (first, firstColumn) comes before (last, lastColumn); first -1 for none.
    qint64 m_selectionFirst = -1;
    int m_selectionFirstColumn = 0;
    qint64 m_selectionLast = -1;
    int m_selectionLastColumn = 0;
    QString m_fontFamily;
    int m_fontPixelSize = 12;
};

} // namespace brisko
