#include "PlainTextArea.h"

#include "file_manager/editor/LineDocumentLayout.h"
#include "file_manager/editor/plain_text_keys.h"

#include <QCursor>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QInputMethod>
#include <QPainter>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace brisko {

PlainTextArea::PlainTextArea(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setFlags(flags() | ItemAcceptsInputMethod | ItemIsFocusScope); // keeps ItemHasContents
    setAcceptedMouseButtons(Qt::LeftButton);
    setCursor(QCursor(Qt::IBeamCursor));
    for (auto changed : {&PlainTextArea::viewportChanged, &PlainTextArea::appearanceChanged,
                         &PlainTextArea::readOnlyChanged})
        connect(this, changed, this, &PlainTextArea::redraw);
    connect(this, &QQuickItem::heightChanged, this, &PlainTextArea::redraw);
    connect(this, &QQuickItem::activeFocusChanged, this, &PlainTextArea::redraw);
}

void PlainTextArea::setDocument(QTextDocument* document) {
    if (m_document == document) return;
    if (m_document) m_document->disconnect(this);
    m_document = document;
    m_cursor = document ? QTextCursor(document) : QTextCursor();
    if (document) {
        // The line layout is what keeps a large document cheap; a document set up without it
        // gets it here.
        if (!qobject_cast<LineDocumentLayout*>(document->documentLayout()))
            document->setDocumentLayout(new LineDocumentLayout(document));
        connect(document->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this,
                &PlainTextArea::contentSizeChanged);
        connect(document, &QTextDocument::contentsChanged, this, &PlainTextArea::cursorMoved);
    }
    emit documentChanged();
    emit contentSizeChanged();
    cursorMoved();
}

void PlainTextArea::moveCursorToStart() {
    m_cursor.movePosition(QTextCursor::Start);
    cursorMoved();
}

LineDocumentLayout* PlainTextArea::layout() const {
    return static_cast<LineDocumentLayout*>(m_document->documentLayout());
}

qreal PlainTextArea::lineHeight() const {
    return m_document ? layout()->lineHeight() : 1;
}

qreal PlainTextArea::contentWidth() const {
    const qreal text = m_document ? layout()->documentSize().width() : 0;
    return text + 2 * m_horizontalPadding + 1;
}

qreal PlainTextArea::contentHeight() const {
    return (m_document ? layout()->documentSize().height() : 0) + 2 * m_verticalPadding;
}

QPointF PlainTextArea::blockOrigin(int blockNumber) const {
    return {m_horizontalPadding - m_viewportX, m_verticalPadding + blockNumber * lineHeight() - m_viewportY};
}

std::pair<int, int> PlainTextArea::visibleBlocks() const {
    const qreal top = m_viewportY - m_verticalPadding;
    const int first = std::max(0, int(std::floor(top / lineHeight())));
    const int last = std::min(m_document->blockCount() - 1, int(std::floor((top + height()) / lineHeight())));
    return {first, last};
}

// Layout happens here, on the GUI thread: paint() may run on the render thread, and laying out
// announces size changes that bindings must not see from there.
void PlainTextArea::updatePolish() {
    if (!m_document) return;
    const auto [first, last] = visibleBlocks();
    QTextBlock block = m_document->findBlockByNumber(first);
    for (int n = first; block.isValid() && n <= last; ++n, block = block.next())
        layout()->ensureLaidOut(block);
}

void PlainTextArea::paint(QPainter* painter) {
    if (!m_document) return;
    painter->setFont(m_document->defaultFont());
    painter->setPen(m_color);
    const auto [first, last] = visibleBlocks();
    QTextBlock block = m_document->findBlockByNumber(first);
    for (int n = first; block.isValid() && n <= last; ++n, block = block.next())
        paintBlock(painter, block, blockOrigin(n));
}

void PlainTextArea::paintBlock(QPainter* painter, const QTextBlock& block, QPointF origin) const {
    QTextLayout* layout = block.layout();
    if (layout->lineCount() == 0) return; // laid out by the next polish
    QList<QTextLayout::FormatRange> selections;
    const int start = block.position();
    const int from = std::max(m_cursor.selectionStart() - start, 0);
    const int to = std::min(m_cursor.selectionEnd() - start, block.length());
    if (m_cursor.hasSelection() && from < to) {
        QTextLayout::FormatRange range{from, to - from, {}};
        range.format.setBackground(m_selectionColor);
        range.format.setForeground(m_color);
        selections << range;
    }
    layout->draw(painter, origin, selections);
    if (hasActiveFocus() && m_cursor.block() == block)
        layout->drawCursor(painter, origin, m_cursor.positionInBlock(), 1);
}

int PlainTextArea::positionAt(QPointF point) const {
    if (!m_document) return 0;
    const QPointF content(point.x() + m_viewportX - m_horizontalPadding,
                          point.y() + m_viewportY - m_verticalPadding);
    return layout()->hitTest(content, Qt::FuzzyHit);
}

QRectF PlainTextArea::cursorRectangle() const {
    if (!m_document) return {};
    const QTextBlock block = m_cursor.block();
    layout()->ensureLaidOut(block);
    const QTextLine line = block.layout()->lineAt(0);
    const qreal x = line.isValid() ? line.cursorToX(m_cursor.positionInBlock()) : 0;
    return {m_horizontalPadding + x, m_verticalPadding + block.blockNumber() * lineHeight(), 1, lineHeight()};
}

void PlainTextArea::cursorMoved() {
    emit cursorRectangleChanged();
    if (hasActiveFocus()) QGuiApplication::inputMethod()->update(Qt::ImQueryInput);
    redraw();
}

void PlainTextArea::redraw() {
    polish();
    update();
}

bool PlainTextArea::event(QEvent* event) {
    // Claim editing keys (Ctrl+C, Ctrl+Z…) before shortcuts do; leave the rest (Ctrl+S) to them.
    if (event->type() == QEvent::ShortcutOverride && isEditingKey(static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QQuickPaintedItem::event(event);
}

void PlainTextArea::keyPressEvent(QKeyEvent* event) {
    const int pageLines = std::max(1, int(height() / lineHeight()) - 1);
    if (!m_document || !applyEditingKey(m_cursor, event, m_readOnly, pageLines)) {
        event->ignore();
        return;
    }
    cursorMoved();
}

void PlainTextArea::inputMethodEvent(QInputMethodEvent* event) {
    if (!m_document || m_readOnly) {
        event->ignore();
        return;
    }
    if (!event->commitString().isEmpty() || event->replacementLength() > 0) {
        if (event->replacementLength() > 0) {
            m_cursor.setPosition(m_cursor.position() + event->replacementStart());
            m_cursor.setPosition(m_cursor.position() + event->replacementLength(), QTextCursor::KeepAnchor);
        }
        m_cursor.insertText(event->commitString());
    }
    QTextBlock block = m_cursor.block();
    block.layout()->setPreeditArea(m_cursor.positionInBlock(), event->preeditString());
    m_document->markContentsDirty(block.position(), block.length());
    cursorMoved();
}

QVariant PlainTextArea::inputMethodQuery(Qt::InputMethodQuery query) const {
    switch (query) {
    case Qt::ImEnabled:
        return !m_readOnly;
    case Qt::ImHints:
        // No capitals, corrections or smart punctuation: this is code.
        return int(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText | Qt::ImhMultiLine);
    case Qt::ImCursorRectangle:
        return cursorRectangle().translated(-m_viewportX, -m_viewportY);
    case Qt::ImFont:
        return m_document ? m_document->defaultFont() : QFont();
    case Qt::ImCursorPosition:
        return m_cursor.positionInBlock();
    case Qt::ImAnchorPosition:
        return std::clamp(m_cursor.anchor() - m_cursor.block().position(), 0, m_cursor.block().length());
    case Qt::ImSurroundingText:
        return m_cursor.block().text();
    case Qt::ImCurrentSelection:
        return m_cursor.selectedText();
    default:
        return QQuickPaintedItem::inputMethodQuery(query);
    }
}

void PlainTextArea::mousePressEvent(QMouseEvent* event) {
    forceActiveFocus(Qt::MouseFocusReason);
    // A mouse drag selects; a finger's drag is left to the flickable around.
    setKeepMouseGrab(event->pointingDevice()->type() == QInputDevice::DeviceType::Mouse);
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    m_cursor.setPosition(positionAt(event->position()),
                         extend ? QTextCursor::KeepAnchor : QTextCursor::MoveAnchor);
    cursorMoved();
}

void PlainTextArea::mouseMoveEvent(QMouseEvent* event) {
    m_cursor.setPosition(positionAt(event->position()), QTextCursor::KeepAnchor);
    cursorMoved();
}

void PlainTextArea::mouseDoubleClickEvent(QMouseEvent* event) {
    m_cursor.setPosition(positionAt(event->position()));
    m_cursor.select(QTextCursor::WordUnderCursor);
    cursorMoved();
}

} // namespace brisko
