#include "tools/pcm/card_failure.h"

#include <array>

#include "tools/module/hal_module.h"
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

std::string move_all(size_t bytes, const char* operation, const char* other, const log_lines& log,
                     const std::function<ssize_t(size_t done)>& move) {
    for (size_t done = 0; done < bytes;) {
        const ssize_t result = move(done);
        if (const std::string reason = card_failure(log); !reason.empty()) {
            return reason + "; choose another " + other + " with --device";
        }
        if (result <= 0 || static_cast<size_t>(result) > bytes - done) {
            return std::string("the module's ") + operation + " answered " +
                   status_text(static_cast<int>(result)) + " for " + std::to_string(bytes - done) +
                   " bytes; see its log with -v";
        }
        done += static_cast<size_t>(result);
    }
    return "";
}
