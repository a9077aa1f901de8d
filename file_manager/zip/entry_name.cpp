#include "entry_name.h"

namespace brisko::zip {

bool isWellFormedUtf8(std::string_view bytes) {
    const auto* s = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t n = bytes.size();
    size_t i = 0;
    while (i < n) {
        const unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        size_t length;
        unsigned char lo = 0x80, hi = 0xBF; // bounds of the second byte
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0)
                lo = 0xA0; // no overlong forms
            else if (c == 0xED)
                hi = 0x9F; // no surrogates
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0)
                lo = 0x90;
            else if (c == 0xF4)
                hi = 0x8F; // nothing above U+10FFFF
        } else {
            return false;
        }
        if (n - i < length || s[i + 1] < lo || s[i + 1] > hi) return false;
        for (size_t k = 2; k < length; ++k)
            if (s[i + k] < 0x80 || s[i + k] > 0xBF) return false;
        i += length;
    }
    return true;
}

std::string decodeEntryName(std::string_view raw) {
    if (isWellFormedUtf8(raw)) return std::string(raw);
    std::string out;
    out.reserve(raw.size() * 2);
    for (const char ch : raw) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x80) {
            out.push_back(ch);
        } else {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

NameRule classifyEntryName(std::string_view decoded) {
    if (!decoded.empty() && (decoded.back() == '/' || decoded.back() == '\\')) return NameRule::Directory;
    if (decoded.find("..") != std::string_view::npos) return NameRule::DotDot;
    if (decoded.find('\0') != std::string_view::npos) return NameRule::Unrepresentable;
    return NameRule::Extract;
}

OutputName splitOutputName(std::string_view decoded) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    while (start <= decoded.size()) {
        size_t end = decoded.find('/', start);
        if (end == std::string_view::npos) end = decoded.size();
        const std::string_view part = decoded.substr(start, end - start);
        if (!part.empty()) parts.push_back(part);
        start = end + 1;
    }
    OutputName out;
    if (parts.empty()) return out;
    out.file = parts.back();
    parts.pop_back();
    for (const std::string_view part : parts)
        if (part != ".") out.folders.push_back(part);
    return out;
}

} // namespace brisko::zip
