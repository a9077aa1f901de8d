#pragma once
// The presented alerts, read and answered as a user would, and cleared between tests.

#include "platform/ui/AlertController.h"

namespace brisko::testing {

// "title|message|action,action", or empty when nothing is presented.
inline QString topAlertText() {
    ui::AlertController* a = ui::AlertController::topPresented();
    return a ? a->title() + "|" + a->message() + "|" + a->actionTitles().join(",") : QString();
}

// Types into the first field unless text is null, then taps; false when there is nothing to tap.
inline bool answerTopAlert(const QString& action, const QString& text = QString()) {
    ui::AlertController* a = ui::AlertController::topPresented();
    if (!a) return false;
    if (!text.isNull()) a->setTextFieldText(0, text);
    return a->tapAction(action);
}

inline void dismissAllAlerts() {
    while (ui::AlertController* a = ui::AlertController::topPresented())
        ui::dismissAlert(a);
}

} // namespace brisko::testing
