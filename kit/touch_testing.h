#pragma once
// Seams for tests: these machines have no /dev/input, and tests run side by side.

#include "kit/touch_monitor.h"

#include <QString>

#include <functional>
#include <string>

namespace brisko {

using TouchDeviceProbe = std::function<std::optional<TouchDeviceInfo>(int fd)>;

// Where the next monitor looks for event nodes, and how it recognises touchscreens.
void _touchMonitorUseDevices(const QString& directory, TouchDeviceProbe probe);
// Devices the running monitor follows; -1 when it is not running.
int _touchMonitorDeviceCount();

void _touchSocketUsePath(const std::string& path);

} // namespace brisko
