#pragma once
// Announces each change of the runtime status on the main thread; screens connect and refresh.

#include <QObject>

namespace brisko {

class RuntimeStatusNotifier : public QObject {
    Q_OBJECT
  public:
    static RuntimeStatusNotifier* instance();
    void announceChange() { emit changed(); }

  signals:
    void changed();
};

} // namespace brisko
