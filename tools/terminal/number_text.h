// Numbers of the command line and of what is printed.
#pragma once

#include <charconv>
#include <cstdio>
#include <string>

// All of `text` as a decimal number: false, and `value` untouched, for anything else and for what
// does not fit.
template <typename Number>
bool parse_number(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

// "0.250" with three digits behind the point.
inline std::string decimal_text(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", digits, value);
    return text;
}
