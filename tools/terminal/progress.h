// The one line that shows on a terminal while something plays or is recorded, and the texts for
// times.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// "0:07.250", "61:00.000"
std::string clock_text(uint64_t frames, uint32_t rate_hz);

// "0:07.2 / 3:10.0  latency 20 ms"
std::string progress_text(uint64_t position_frames, uint64_t total_frames, uint32_t rate_hz,
                          uint32_t latency_ms);

// Rewrites one line of standard error a few times a second. Does nothing when standard error is not
// a terminal or when `wanted` is false. The destructor clears the line.
class progress_line {
  public:
    explicit progress_line(bool wanted);
    ~progress_line();
    progress_line(const progress_line&) = delete;
    progress_line& operator=(const progress_line&) = delete;

    void show(uint64_t position_frames, uint64_t total_frames, uint32_t rate_hz,
              uint32_t latency_ms);
    void clear();

    // Whether a line is wanted and the last one is old enough; draws any line.
    bool due() const;
    void draw(const std::string& text);

  private:
    bool on_;
    bool dirty_ = false;
    std::chrono::steady_clock::time_point next_;
};
