#pragma once
// The one QML engine of the process and the UI's font set-up.

class QQmlEngine;

namespace brisko::ui {

QQmlEngine* engine();
// The CJK sans-serif system font for the whole application.
void installSystemFont();

} // namespace brisko::ui
