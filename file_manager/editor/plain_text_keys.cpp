#include "plain_text_keys.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTextDocument>

namespace brisko {

namespace {

constexpr int kPage = -1;

struct Motion {
    QKeySequence::StandardKey key;
    QTextCursor::MoveOperation operation;
    QTextCursor::MoveMode mode;
    int count = 1;
};

constexpr QTextCursor::MoveMode kMove = QTextCursor::MoveAnchor;
constexpr QTextCursor::MoveMode kKeep = QTextCursor::KeepAnchor;

const Motion kMotions[] = {
    {QKeySequence::MoveToNextChar, QTextCursor::NextCharacter, kMove},
    {QKeySequence::MoveToPreviousChar, QTextCursor::PreviousCharacter, kMove},
    {QKeySequence::MoveToNextWord, QTextCursor::NextWord, kMove},
    {QKeySequence::MoveToPreviousWord, QTextCursor::PreviousWord, kMove},
    {QKeySequence::MoveToNextLine, QTextCursor::Down, kMove},
    {QKeySequence::MoveToPreviousLine, QTextCursor::Up, kMove},
    {QKeySequence::MoveToNextPage, QTextCursor::Down, kMove, kPage},
    {QKeySequence::MoveToPreviousPage, QTextCursor::Up, kMove, kPage},
    {QKeySequence::MoveToStartOfLine, QTextCursor::StartOfLine, kMove},
    {QKeySequence::MoveToEndOfLine, QTextCursor::EndOfLine, kMove},
    {QKeySequence::MoveToStartOfBlock, QTextCursor::StartOfBlock, kMove},
    {QKeySequence::MoveToEndOfBlock, QTextCursor::EndOfBlock, kMove},
    {QKeySequence::MoveToStartOfDocument, QTextCursor::Start, kMove},
    {QKeySequence::MoveToEndOfDocument, QTextCursor::End, kMove},
    {QKeySequence::SelectNextChar, QTextCursor::NextCharacter, kKeep},
    {QKeySequence::SelectPreviousChar, QTextCursor::PreviousCharacter, kKeep},
    {QKeySequence::SelectNextWord, QTextCursor::NextWord, kKeep},
    {QKeySequence::SelectPreviousWord, QTextCursor::PreviousWord, kKeep},
    {QKeySequence::SelectNextLine, QTextCursor::Down, kKeep},
    {QKeySequence::SelectPreviousLine, QTextCursor::Up, kKeep},
    {QKeySequence::SelectNextPage, QTextCursor::Down, kKeep, kPage},
    {QKeySequence::SelectPreviousPage, QTextCursor::Up, kKeep, kPage},
    {QKeySequence::SelectStartOfLine, QTextCursor::StartOfLine, kKeep},
    {QKeySequence::SelectEndOfLine, QTextCursor::EndOfLine, kKeep},
    {QKeySequence::SelectStartOfBlock, QTextCursor::StartOfBlock, kKeep},
    {QKeySequence::SelectEndOfBlock, QTextCursor::EndOfBlock, kKeep},
    {QKeySequence::SelectStartOfDocument, QTextCursor::Start, kKeep},
    {QKeySequence::SelectEndOfDocument, QTextCursor::End, kKeep},
};

const QKeySequence::StandardKey kEditingKeys[] = {
    QKeySequence::Undo,
    QKeySequence::Redo,
    QKeySequence::Cut,
    QKeySequence::Copy,
    QKeySequence::Paste,
    QKeySequence::SelectAll,
    QKeySequence::Delete,
    QKeySequence::DeleteStartOfWord,
    QKeySequence::DeleteEndOfWord,
    QKeySequence::InsertParagraphSeparator,
    QKeySequence::InsertLineSeparator,
};

bool isTyping(const QKeyEvent* event) {
    const QString text = event->text();
    if (event->modifiers() & (Qt::ControlModifier | Qt::MetaModifier)) return false;
    return event->key() == Qt::Key_Tab || (!text.isEmpty() && text.front().isPrint());
}

// Backspace is not a standard key everywhere; Shift+Backspace deletes too.
bool isBackspace(const QKeyEvent* event) {
    return event->key() == Qt::Key_Backspace && !(event->modifiers() & ~Qt::ShiftModifier);
}

bool applyMotion(QTextCursor& cursor, const QKeyEvent* event, int pageLines) {
    for (const Motion& motion : kMotions) {
        if (!event->matches(motion.key)) continue;
        cursor.movePosition(motion.operation, motion.mode, motion.count == kPage ? pageLines : 1);
        return true;
    }
    return false;
}

QString selectionText(const QTextCursor& cursor) {
    return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

bool applyReadingKey(QTextCursor& cursor, const QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        if (cursor.hasSelection()) QGuiApplication::clipboard()->setText(selectionText(cursor));
    } else if (event->matches(QKeySequence::SelectAll)) {
        cursor.select(QTextCursor::Document);
    } else {
        return false;
    }
    return true;
}

void deleteWord(QTextCursor& cursor, QTextCursor::MoveOperation towards) {
    if (!cursor.hasSelection()) cursor.movePosition(towards, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
}

bool applyEdit(QTextCursor& cursor, const QKeyEvent* event) {
    QTextDocument* document = cursor.document();
    if (event->matches(QKeySequence::Undo)) {
        document->undo(&cursor);
    } else if (event->matches(QKeySequence::Redo)) {
        document->redo(&cursor);
    } else if (event->matches(QKeySequence::Cut)) {
        if (cursor.hasSelection()) QGuiApplication::clipboard()->setText(selectionText(cursor));
        cursor.removeSelectedText();
    } else if (event->matches(QKeySequence::Paste)) {
        cursor.insertText(QGuiApplication::clipboard()->text());
    } else if (event->matches(QKeySequence::Delete)) {
        cursor.deleteChar();
    } else if (isBackspace(event)) {
        cursor.deletePreviousChar();
    } else if (event->matches(QKeySequence::DeleteStartOfWord)) {
        deleteWord(cursor, QTextCursor::PreviousWord);
    } else if (event->matches(QKeySequence::DeleteEndOfWord)) {
        deleteWord(cursor, QTextCursor::NextWord);
    } else if (event->matches(QKeySequence::InsertParagraphSeparator) ||
               event->matches(QKeySequence::InsertLineSeparator)) {
        cursor.insertBlock();
    } else if (isTyping(event)) {
        cursor.insertText(event->key() == Qt::Key_Tab ? QStringLiteral("\t") : event->text());
    } else {
        return false;
    }
    return true;
}

} // namespace

bool applyEditingKey(QTextCursor& cursor, const QKeyEvent* event, bool readOnly, int pageLines) {
    if (applyMotion(cursor, event, pageLines) || applyReadingKey(cursor, event)) return true;
    return !readOnly && applyEdit(cursor, event);
}

bool isEditingKey(const QKeyEvent* event) {
    for (const Motion& motion : kMotions)
        if (event->matches(motion.key)) return true;
    for (QKeySequence::StandardKey key : kEditingKeys)
        if (event->matches(key)) return true;
    return isBackspace(event) || isTyping(event);
}

} // namespace brisko
