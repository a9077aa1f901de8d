#pragma once
// Entry names: decoding, the skip rules, and the split into the folders and file to create.

#include <string>
#include <string_view>
#include <vector>

namespace brisko::zip {

// The name as UTF-8: the bytes themselves when they are well-formed UTF-8, else each byte
// decoded as ISO 8859-1.
std::string decodeEntryName(std::string_view raw);

bool isWellFormedUtf8(std::string_view bytes);

enum class NameRule {
    Extract,
    Directory,      // ends with "/" or "\": directory entries create nothing
    DotDot,         // contains ".." anywhere
    Unrepresentable // contains a NUL byte: no file system name can hold it
};

NameRule classifyEntryName(std::string_view decoded);

// The name as a path relative to the destination: "/" separates, empty and "." components
// vanish (so a leading "/" stays inside), a backslash is an ordinary character. `file` is the
// last component; it is "." when the name ends in "/." (the folders exist, no file can be
// written there) and empty when the name has no component at all.
struct OutputName {
    std::vector<std::string_view> folders;
    std::string_view file;
};

OutputName splitOutputName(std::string_view decoded);

} // namespace brisko::zip
