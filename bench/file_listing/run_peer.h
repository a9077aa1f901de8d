#pragma once
// Timing helpers shared by the file manager's benchmarks.

#include <QStringList>

#include <functional>

namespace brisko::bench {

// Median milliseconds of `runs` calls after two unmeasured ones.
double medianMs(int runs, const std::function<void()>& call);
// Runs the program with its output thrown away; waits for it to end. False when it failed.
bool runQuietly(const QStringList& argv);

} // namespace brisko::bench
