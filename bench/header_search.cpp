// utils_findheader() over bytes that hold no header, beside memmem() of the C library.
#include <cstdint>
#include <cstring>
#include <vector>

#include "bench/loaded_module.h"
#include "bench/sound.h"
#include "bench/subject.h"

namespace {

using find_header = int32_t(const uint8_t* buffer, uint32_t size, uint32_t expected_offset,
                            uint32_t* frame_size, uint64_t* pts, uint32_t* data_offset);

constexpr uint8_t magic[] = {0x55, 0x55, 0x00, 0x01};
constexpr size_t input_bytes = 4096;

class search_subject final : public subject {
  public:
    explicit search_subject(std::vector<uint8_t> input) : input_(std::move(input)) {
        // Version 1 is what is searched for, and there is none.
        input_[0] = 0;
        input_[3] = magic[3];
        if (find() != -1 || memmem(input_.data(), input_.size(), magic, sizeof(magic)) != nullptr) {
            give_up("header search: a header where there is none");
        }
        std::vector<uint8_t> held = input_;
        std::memcpy(held.data() + input_bytes - 16, magic, sizeof(magic));
        held.swap(input_);
        if (find() != 0 || data_offset_ != input_bytes) {
            give_up("header search: a header was not found");
        }
        held.swap(input_);
    }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            if (find() != -1) {
                give_up("header search: a header where there is none");
            }
        }
    }
    void reference(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            asm volatile("" : : "r"(input_.data()) : "memory");
            if (memmem(input_.data(), input_.size(), magic, sizeof(magic)) != nullptr) {
                give_up("header search: a header where there is none");
            }
        }
    }

  private:
    int32_t find() {
        return find_(input_.data(), input_bytes, 16, &frame_size_, &pts_, &data_offset_);
    }

    find_header* const find_ = exported<find_header>("utils_findheader");
    std::vector<uint8_t> input_;
    uint32_t frame_size_ = 0;
    uint64_t pts_ = 0;
    uint32_t data_offset_ = 0;
};

// The pattern over and over.
std::vector<uint8_t> filled(const std::vector<uint8_t>& pattern) {
    std::vector<uint8_t> bytes(input_bytes);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = pattern[i % pattern.size()];
    }
    return bytes;
}

}  // namespace

std::unique_ptr<subject> make_search_random() {
    const std::vector<int16_t> sound = noise(input_bytes / 2);
    std::vector<uint8_t> bytes(input_bytes);
    std::memcpy(bytes.data(), sound.data(), input_bytes);
    return std::make_unique<search_subject>(bytes);
}
std::unique_ptr<subject> make_search_zeros() {
    return std::make_unique<search_subject>(filled({0}));
}
std::unique_ptr<subject> make_search_near_matches() {
    return std::make_unique<search_subject>(filled({0x55, 0x55, 0x00, 0x02}));
}
