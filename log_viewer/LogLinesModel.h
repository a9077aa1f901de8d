#pragma once
// The log as a list of lines over a mapping of the file: only the lines a view asks for are
// decoded. The last screen is indexed first and the rest on a worker, and the model follows
// the file as the daemon appends to it, clears it or rotates it.

#include "log_viewer/line_index.h"
#include "log_viewer/mapped_log.h"

#include <QAbstractListModel>
#include <QFileSystemWatcher>
#include <QString>

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

    // What a line shows besides its text: the find match and the selection, each as a character
    // span [from, to) of the line; `to` past the end means "to the end of the line".
    void setMatch(qint64 line, int from, int to);
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

    QString m_path;
    std::shared_ptr<const MappedLog> m_map;
    LineStarts m_starts;
    qint64 m_indexedSize = 0;
    bool m_headPending = false;
    quint64 m_generation = 0;
    QFileSystemWatcher m_watcher;
    qint64 m_matchLine = -1;
    int m_matchFrom = 0;
    int m_matchTo = 0;
    // Ordered so that (first, firstColumn) comes before (last, lastColumn); first -1 for none.
    qint64 m_selectionFirst = -1;
    int m_selectionFirstColumn = 0;
    qint64 m_selectionLast = -1;
    int m_selectionLastColumn = 0;
    QString m_fontFamily;
    int m_fontPixelSize = 12;
};

} // namespace brisko
