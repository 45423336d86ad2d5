// Numbers from the command line.
#pragma once

#include <charconv>
#include <string>

// All of `text` as a decimal number: false, and `value` untouched, for anything else and for what
// does not fit.
template <typename Number>
bool parse_number(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}
