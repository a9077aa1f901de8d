#pragma once
// A test clock for dispatchMainAfter: nothing delayed runs until the test advances time, so
// tests assert the order and count of what happens instead of milliseconds.

#include "platform/dispatch/dispatch.h"

#include <QList>

#include <algorithm>

namespace brisko::testing {

class ManualScheduler : public DispatchScheduler {
  public:
    ManualScheduler() { setDispatchScheduler(this); }
    ~ManualScheduler() override { setDispatchScheduler(nullptr); }

    void scheduleAfter(double seconds, DispatchBlock fn) override {
        m_pending.append({m_now + std::max(0.0, seconds), m_nextSequence++, std::move(fn)});
    }

    // Moves the clock forward, running each block that falls due in deadline order, including
    // blocks scheduled by those blocks.
    void advance(double seconds) {
        const double target = m_now + seconds;
        while (true) {
            auto next =
                std::min_element(m_pending.begin(), m_pending.end(), [](const Entry& a, const Entry& b) {
                    return a.due < b.due || (a.due == b.due && a.sequence < b.sequence);
                });
            if (next == m_pending.end() || next->due > target) break;
            Entry entry = std::move(*next);
            m_pending.erase(next);
            m_now = entry.due;
            entry.fn();
        }
        m_now = target;
    }

    int pendingCount() const { return int(m_pending.size()); }
    double now() const { return m_now; }

  private:
    struct Entry {
        double due;
        quint64 sequence;
        DispatchBlock fn;
    };
    QList<Entry> m_pending;
    double m_now = 0;
    quint64 m_nextSequence = 0;
};

} // namespace brisko::testing
