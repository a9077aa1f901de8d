#pragma once
// The application's user-visible name.

#include <QString>

namespace brisko {

// CFBundleDisplayName, else CFBundleName, else "Brisko"; never empty. For each key the
// localized value comes first: <bundle>/<lang>.lproj/InfoPlist.strings for the languages of
// the current QLocale, most specific first (zh-Hans-CN, zh_Hans_CN, zh-Hans, zh_Hans, zh),
// then Base.lproj, then Info.plist itself.
QString BKApplicationDisplayName();

} // namespace brisko
