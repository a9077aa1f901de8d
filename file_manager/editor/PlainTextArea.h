#pragma once
// An editing area over a QTextDocument laid out by LineDocumentLayout: opening a large file
// costs what the screen shows, not the whole document. The item is viewport-sized and draws
// the part of the document at viewportX/viewportY; the view scrolls it.

#include <QColor>
#include <QQuickPaintedItem>
#include <QTextCursor>
#include <QTextDocument>
#include <QtQml/qqmlregistration.h>

namespace brisko {

// Lets views name the document type the editor's controller hands them.
struct TextDocumentForeign {
    Q_GADGET
    QML_FOREIGN(QTextDocument)
    QML_ANONYMOUS
};

class LineDocumentLayout;

class PlainTextArea : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QTextDocument* document READ document WRITE setDocument NOTIFY documentChanged)
    Q_PROPERTY(bool readOnly MEMBER m_readOnly NOTIFY readOnlyChanged)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY appearanceChanged)
    Q_PROPERTY(QColor selectionColor MEMBER m_selectionColor NOTIFY appearanceChanged)
    // Space around the text inside the content, left/right and top/bottom.
    Q_PROPERTY(qreal horizontalPadding MEMBER m_horizontalPadding NOTIFY appearanceChanged)
    Q_PROPERTY(qreal verticalPadding MEMBER m_verticalPadding NOTIFY appearanceChanged)
    // The content point drawn at the item's top left.
    Q_PROPERTY(qreal viewportX MEMBER m_viewportX NOTIFY viewportChanged)
    Q_PROPERTY(qreal viewportY MEMBER m_viewportY NOTIFY viewportChanged)
    Q_PROPERTY(qreal contentWidth READ contentWidth NOTIFY contentSizeChanged)
    Q_PROPERTY(qreal contentHeight READ contentHeight NOTIFY contentSizeChanged)
    // In content coordinates.
    Q_PROPERTY(QRectF cursorRectangle READ cursorRectangle NOTIFY cursorRectangleChanged)

  public:
    explicit PlainTextArea(QQuickItem* parent = nullptr);

    QTextDocument* document() const { return m_document; }
    void setDocument(QTextDocument* document);
    qreal contentWidth() const;
    qreal contentHeight() const;
    QRectF cursorRectangle() const;
    QTextCursor textCursor() const { return m_cursor; }
    Q_INVOKABLE void moveCursorToStart();
    // The document position under a point of the item.
    int positionAt(QPointF point) const;

    void paint(QPainter* painter) override;
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

  signals:
    void documentChanged();
    void readOnlyChanged();
    void appearanceChanged();
    void viewportChanged();
    void contentSizeChanged();
    void cursorRectangleChanged();

  protected:
    void updatePolish() override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    LineDocumentLayout* layout() const;
    qreal lineHeight() const;
    QPointF blockOrigin(int blockNumber) const;
    std::pair<int, int> visibleBlocks() const;
    void paintBlock(QPainter* painter, const QTextBlock& block, QPointF origin) const;
    void cursorMoved();
    void redraw();

    QTextDocument* m_document = nullptr;
    QTextCursor m_cursor;
    bool m_readOnly = false;
    QColor m_color = Qt::black;
    QColor m_selectionColor = QColor(0, 122, 255, 80);
    qreal m_horizontalPadding = 0;
    qreal m_verticalPadding = 0;
    qreal m_viewportX = 0;
    qreal m_viewportY = 0;
};

} // namespace brisko
