#pragma once
// The script log screen: the daemon's log, opened at its end and following it while the view
// stays at the bottom; copy, clear, find, and copying a selection that spans lines.

#include "log_viewer/LogLinesModel.h"
#include "platform/ui/ViewController.h"

#include <QFont>
#include <QtQml/qqmlregistration.h>

namespace brisko {

class BKLogViewController : public brisko::ui::ViewController {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Pushed by the main screen")
    Q_PROPERTY(QAbstractItemModel* lines READ linesModel CONSTANT)
    // The log font as family and pixel size: a QFont with a pixel size does not survive the
    // trip into QML whole.
    Q_PROPERTY(QString logFontFamily READ logFontFamily CONSTANT)
    Q_PROPERTY(int logFontPixelSize READ logFontPixelSize CONSTANT)
    // The line of the match find last landed on, -1 for none; the lines highlight the spans.
    Q_PROPERTY(int matchLine READ matchLine NOTIFY matchChanged)
    Q_PROPERTY(QString findStatus READ findStatus NOTIFY matchChanged)
    // Off by default: "error" finds "Error" and "ERROR" (ASCII letters; other letters exactly).
    Q_PROPERTY(bool caseSensitive READ caseSensitive WRITE setCaseSensitive NOTIFY findActiveChanged)
    Q_PROPERTY(bool searching READ searching NOTIFY searchingChanged)
    Q_PROPERTY(bool findActive READ findActive NOTIFY findActiveChanged)
    Q_PROPERTY(QString findText READ findText NOTIFY findActiveChanged)

  public:
    // The log at path; the application's script log when none is given.
    explicit BKLogViewController(const QString& path = {});

    LogLinesModel* lines() { return &m_lines; }
    QAbstractItemModel* linesModel() { return &m_lines; }
    QFont logFont() const;
    QString logFontFamily() const { return logFont().family(); }
    int logFontPixelSize() const { return logFont().pixelSize() > 0 ? logFont().pixelSize() : 12; }
    int matchLine() const { return m_matchLine; }
    int matchColumn() const { return m_matchColumn; }
    int matchLength() const { return m_matchLength; }
    QString findStatus() const { return m_findStatus; }
    bool searching() const { return m_searching; }
    bool findActive() const { return m_findActive; }
    bool caseSensitive() const { return m_caseSensitive; }
    void setCaseSensitive(bool caseSensitive);
    QString findText() const { return m_findText; }

    void loadLogFromFile();
    Q_INVOKABLE void copyLog();
    Q_INVOKABLE void clearLog();
    void barItemTapped(const QString& id) override;

    // Finds text after (or before) the current match, or from fromLine when there is none.
    Q_INVOKABLE void beginFind();
    Q_INVOKABLE void find(const QString& text, bool forward, int fromLine);
    Q_INVOKABLE void endFind();
    // The view's selection, from (line, column) to (line, column) in either order; copies it.
    Q_INVOKABLE void copySelection(int anchorLine, int anchorColumn, int line, int column);
    Q_INVOKABLE void setSelection(int anchorLine, int anchorColumn, int line, int column);
    QString selectedText(int anchorLine, int anchorColumn, int line, int column) const;

  signals:
    void matchChanged();
    void searchingChanged();
    void findActiveChanged();

  protected:
    QUrl viewUrl() const override;
    void viewDidLoad() override;
    virtual void showToast(const QString& text);

  private:
    void applyFindResult(quint64 search, qint64 offset, const QByteArray& needle);
    void setMatch(int line, int column, int length, qint64 offset);

    QString m_path;
    LogLinesModel m_lines;
    int m_matchLine = -1;
    int m_matchColumn = 0;
    int m_matchLength = 0;
    qint64 m_matchOffset = -1;
    QString m_findText;
    QString m_findStatus;
    bool m_searching = false;
    bool m_findActive = false;
    bool m_caseSensitive = false;
    quint64 m_searchId = 0;
};

} // namespace brisko
