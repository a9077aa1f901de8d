#include "LineDocumentLayout.h"

#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace brisko {

LineDocumentLayout::LineDocumentLayout(QTextDocument* document) : QAbstractTextDocumentLayout(document) {}

qreal LineDocumentLayout::lineHeight() const {
    return QFontMetricsF(document()->defaultFont()).lineSpacing();
}

void LineDocumentLayout::ensureLaidOut(const QTextBlock& block) {
    if (block.isValid() && block.layout()->lineCount() == 0) layOut(block);
}

void LineDocumentLayout::layOut(const QTextBlock& block) {
    QTextLayout* layout = block.layout();
    QTextOption option = document()->defaultTextOption();
    option.setWrapMode(QTextOption::NoWrap);
    layout->setTextOption(option);
    layout->beginLayout();
    QTextLine line = layout->createLine();
    if (line.isValid()) {
        line.setLeadingIncluded(true);
        line.setPosition(QPointF(0, 0));
    }
    layout->endLayout();
    const qreal width = line.isValid() ? line.naturalTextWidth() : 0;
    if (width > m_maximumWidth) {
        m_maximumWidth = width;
        emit documentSizeChanged(documentSize());
    }
}

void LineDocumentLayout::documentChanged(int from, int charsRemoved, int charsAdded) {
    const QTextBlock last = document()->findBlock(std::max(from, from + charsAdded - 1));
    for (QTextBlock block = document()->findBlock(from); block.isValid(); block = block.next()) {
        // Blocks not laid out yet have nothing to clear; lay out the rest afresh when drawn.
        if (block.layout()->lineCount() > 0) block.clearLayout();
        if (block == last) break;
    }
    if (m_blockCount != document()->blockCount()) {
        m_blockCount = document()->blockCount();
        if (m_blockCount == 1) m_maximumWidth = 0;
        emit documentSizeChanged(documentSize());
    }
    emit update();
    Q_UNUSED(charsRemoved);
}

QSizeF LineDocumentLayout::documentSize() const {
    return {m_maximumWidth, document()->blockCount() * lineHeight()};
}

QRectF LineDocumentLayout::blockBoundingRect(const QTextBlock& block) const {
    if (!block.isValid()) return {};
    const_cast<LineDocumentLayout*>(this)->ensureLaidOut(block);
    return {0, block.blockNumber() * lineHeight(), m_maximumWidth, lineHeight()};
}

QRectF LineDocumentLayout::frameBoundingRect(QTextFrame*) const {
    return {QPointF(0, 0), documentSize()};
}

int LineDocumentLayout::hitTest(const QPointF& point, Qt::HitTestAccuracy) const {
    const int number = std::clamp(int(std::floor(point.y() / lineHeight())), 0, document()->blockCount() - 1);
    const QTextBlock block = document()->findBlockByNumber(number);
    const_cast<LineDocumentLayout*>(this)->ensureLaidOut(block);
    const QTextLine line = block.layout()->lineAt(0);
    return block.position() + (line.isValid() ? line.xToCursor(point.x()) : 0);
}

// The editor's item draws the visible blocks itself.
void LineDocumentLayout::draw(QPainter*, const PaintContext&) {}

} // namespace brisko
