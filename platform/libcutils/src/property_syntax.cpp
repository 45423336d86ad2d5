#include "property_syntax.h"

#include <algorithm>

namespace properties {
namespace {

constexpr std::string_view kBlanks = " \t";

bool is_key_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("._-@:").find(c) != std::string_view::npos;
}

void skip_blanks(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(kBlanks), text->size()));
}

}  // namespace

bool is_valid_key(std::string_view key) {
    return !key.empty() && std::all_of(key.begin(), key.end(), is_key_character);
}

bool is_valid_value(std::string_view value) {
    // A carriage return too: at the end of a line it would be taken for part of the line end.
    return value.size() <= kMaxValueBytes && value.find_first_of("\n\r") == std::string_view::npos;
}

bool parse_line(std::string_view line, entry* out) {
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    skip_blanks(&line);
    const size_t equals = line.find('=');
    if (line.empty() || line.front() == '#' || equals == line.npos) {
        return false;
    }
    std::string_view key = line.substr(0, equals);
    std::string_view value = line.substr(equals + 1);
    const size_t key_end = key.find_last_not_of(kBlanks) + 1;
    if (key_end != key.size()) {
        key = key.substr(0, key_end);
        skip_blanks(&value);
    }
    if (!is_valid_key(key)) {
        return false;
    }
    value = value.substr(0, value.find('\0'));
    *out = {key, value.substr(0, kMaxValueBytes)};
    return true;
}

}  // namespace properties
