// How many bytes each write of a stream takes, whatever the frames in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

constexpr size_t max_cut_bytes = 1U << 20;

class cut_sizes {
  public:
    // "4096", "1,7,4096" (over and over), "random" or "random:SEED"; "" stands for `usual_bytes`.
    // Random sizes are 1 to 4 * usual_bytes, small ones as likely as large ones; the same seed
    // gives the same sizes. Throws program_error (exit_usage) for anything else.
    cut_sizes(const std::string& text, size_t usual_bytes);

    size_t next();

    // "1024 bytes", "1, 7, 4096 bytes in turn", "1 to 4096 bytes (random:12)"
    const std::string& text() const { return text_; }

  private:
    std::vector<size_t> sizes_;
    size_t at_ = 0;
    std::mt19937 random_;
    size_t random_max_ = 0;  // 0: sizes_ in turn
    std::string text_;
};
