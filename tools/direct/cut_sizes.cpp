#include "tools/direct/cut_sizes.h"

#include <algorithm>

#include "host/program_error.h"
#include "tools/terminal/number_text.h"

namespace {

constexpr char random_word[] = "random";

[[noreturn]] void refuse(const std::string& text) {
    throw program_error("--cut '" + text + "' is no size; give bytes (1 to " +
                            std::to_string(max_cut_bytes) +
                            "), several with commas, random or random:SEED",
                        exit_usage);
}

}  // namespace

cut_sizes::cut_sizes(const std::string& text, size_t usual_bytes) {
    if (text.rfind(random_word, 0) == 0) {
        const std::string rest = text.substr(sizeof(random_word) - 1);
        uint32_t seed = std::random_device()();
        if (!rest.empty() && !(rest[0] == ':' && parse_number(rest.substr(1), seed))) {
            refuse(text);
        }
        random_.seed(seed);
        random_max_ = 4 * usual_bytes;
        text_ =
            "1 to " + std::to_string(random_max_) + " bytes (random:" + std::to_string(seed) + ")";
        return;
    }
    const std::string list = text.empty() ? std::to_string(usual_bytes) : text;
    for (size_t begin = 0; begin <= list.size();) {
        const size_t end = std::min(list.find(',', begin), list.size());
        size_t bytes = 0;
        if (!parse_number(list.substr(begin, end - begin), bytes) || bytes == 0 ||
            bytes > max_cut_bytes) {
            refuse(list);
        }
        sizes_.push_back(bytes);
        text_ += (text_.empty() ? "" : ", ") + std::to_string(bytes);
        begin = end + 1;
    }
    text_ += sizes_.size() == 1 ? " bytes" : " bytes in turn";
}

size_t cut_sizes::next() {
    if (random_max_ == 0) {
        return sizes_[at_++ % sizes_.size()];
    }
    // The largest size first, so that a size of a few bytes is as likely as one of a few thousand.
    size_t most = random_max_;
    for (auto halvings = random_() % 12; halvings > 0 && most > 1; --halvings) {
        most /= 2;
    }
    return 1 + random_() % most;
}
