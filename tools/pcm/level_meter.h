// The loudest sample of what went by, as numbers and as a bar.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// "-12.0 dB" of full scale; "silence" for 0.
std::string level_text(unsigned peak);

// 60 dB in 30 marks: "[###############---------------]" is -30 dB.
std::string level_bar(unsigned peak);

class level_meter {
  public:
    void add(const int16_t* samples, size_t count);

    unsigned peak() const { return peak_; }  // 0 to 32768, since the start

    // Since the last call.
    unsigned take_recent_peak();

  private:
    unsigned peak_ = 0;
    unsigned recent_peak_ = 0;
};
