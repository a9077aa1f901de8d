#pragma once
// Time from asking for the panel's page to the page's first animation frame reporting back.

#include <QList>

namespace brisko::bench {

// Through the application's path: "com.brisko.webview.show" posted on the bus, the observer,
// the panel over a navigation view. The first figure is the cold show; then `warm` shows, each
// after a close.
QList<double> timeShowsThroughBus(int warm);

} // namespace brisko::bench
