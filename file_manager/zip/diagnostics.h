#pragma once
// Why the extractor passed over an entry. The extractor stays free of any logging framework:
// whoever wants the reasons installs a sink (the application routes them to its debug log).

#include <string_view>

namespace brisko::zip {

using SkipSink = void (*)(std::string_view entry, const char* reason);

// nullptr: reasons are dropped. Set once, before extracting.
void setSkipSink(SkipSink sink);
void reportSkip(std::string_view entry, const char* reason);

} // namespace brisko::zip
