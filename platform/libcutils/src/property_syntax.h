// What a key, a value and a line of the property file may look like.
#pragma once

#include <cstddef>
#include <string_view>

#include <cutils/properties.h>

namespace properties {

constexpr size_t kMaxValueBytes = PROPERTY_VALUE_MAX - 1;

// Letters, digits and ._-@: only, at least one.
bool is_valid_key(std::string_view key);

// Short enough, and on one line.
bool is_valid_value(std::string_view value);

struct entry {
    std::string_view key;
    std::string_view value;  // at most kMaxValueBytes, no zero in it
};

// Reads one line (without its '\n') into `out`, which then refers to the line's own characters.
// False for a comment, a blank line and anything that is no property.
//
// Nothing in a value is special, so that each value comes back as it was set. Only where a blank
// stands before the '=', which property_set never writes, are blanks after it left out too.
bool parse_line(std::string_view line, entry* out);

// Calls `visit(line, whole)` for each line of `text`: without its '\n', and with it.
template <typename Visit>
void for_each_line(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        const std::string_view whole = end == text.npos ? text : text.substr(0, end + 1);
        text.remove_prefix(whole.size());
        visit(line, whole);
    }
}

}  // namespace properties
