#include "tools/pcm/card_failure.h"

#include <array>

#include "tools/terminal/log_lines.h"

namespace {

// Error lines of the module, and the text before the reason they carry. Those that carry one come
// first: the others follow them.
struct fatal_line {
    const char* part;
    bool has_reason;  // the text behind `part` says why
    const char* meaning;
};
constexpr std::array<fatal_line, 6> fatal_lines = {{
    {"pcm_open() failed:", true, "the module could not open the card"},
    {"hpo_open failed", false, "the module could not open the card"},
    {"hpi_open failed", false, "the module could not open the card"},
    {"get_next_buffer() pcm_read error", true, "the card stopped giving data"},
    {"hpi_read:", false, "the card stopped giving data"},
    {"byte written failed", false, "the card stopped taking data"},
}};

}  // namespace

std::string card_failure(const log_lines& log) {
    const std::vector<log_line> problems = log.problems();
    for (const fatal_line& fatal : fatal_lines) {
        for (const log_line& line : problems) {
            const size_t at = line.text.find(fatal.part);
            if (at != std::string::npos) {
                return std::string(fatal.meaning) + ":" +
                       (fatal.has_reason ? line.text.substr(at + std::string(fatal.part).size())
                                         : " " + line.text);
            }
        }
    }
    return "";
}
