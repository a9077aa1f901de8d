#pragma once
// A text document layout for code: no wrapping, every block one row of the font's line
// spacing, and a block laid out only when something asks for it (drawing it, moving the
// cursor through it). The full document layout lays out every block up front, which is what
// made large files slow to open.

#include <QAbstractTextDocumentLayout>

namespace brisko {

class LineDocumentLayout : public QAbstractTextDocumentLayout {
    Q_OBJECT

  public:
    explicit LineDocumentLayout(QTextDocument* document);

    qreal lineHeight() const;
    // Lays the block out if it is not yet.
    void ensureLaidOut(const QTextBlock& block);

    void draw(QPainter* painter, const PaintContext& context) override;
    int hitTest(const QPointF& point, Qt::HitTestAccuracy accuracy) const override;
    int pageCount() const override { return 1; }
    QSizeF documentSize() const override;
    QRectF frameBoundingRect(QTextFrame* frame) const override;
    QRectF blockBoundingRect(const QTextBlock& block) const override;

  protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

  private:
    void layOut(const QTextBlock& block);

    int m_blockCount = 0;
    qreal m_maximumWidth = 0;
};

} // namespace brisko
