#pragma once
// Keyboard editing on a text cursor with the platform's key bindings (moves, selection,
// clipboard, undo/redo, typing). The caller redraws.

#include <QTextCursor>

class QKeyEvent;

namespace brisko {

// Applies the key to cursor and its document; false when the key is not an editing key (or
// edits while readOnly), so it can go on to shortcuts and the rest of the screen.
bool applyEditingKey(QTextCursor& cursor, const QKeyEvent* event, bool readOnly, int pageLines);

// Whether the editor claims the key before application shortcuts see it.
bool isEditingKey(const QKeyEvent* event);

} // namespace brisko
