// Every flat function that forwards, as one table: what it needs, what it answers without, and how
// the call arrives at the service.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// What the calls of the table pass, and where their results land.
struct flat_arguments {
    static constexpr uint32_t length = 6;
    // The service has 32-bit lengths: the high half must not arrive.
    static constexpr uint64_t long_length = 0x700000000 + length;

    uint8_t block[8] = {1, 2, 3, 4, 5, 6, 7, 8};  // the last two lie behind the structure
    uint32_t first = 0xEEEEEEEE;
    uint32_t second = 0xEEEEEEEE;
    // Bit n says whether needed argument n is given; the others are null or zero.
    unsigned given = ~0U;
};

enum class results { none, block, one_word, two_words };

struct flat_case {
    std::string function;
    std::string method;  // of the adapter, as its warning names it
    int place;           // of the operation in the service's interface
    int needed;          // arguments that must be given, besides the handle
    int32_t invalid;     // the answer without them
    std::function<int32_t(void* handle, flat_arguments& with)> call;
    std::string journal;  // the call as the service sees it
    results comes_back;
};

const std::vector<flat_case>& flat_cases();

std::ostream& operator<<(std::ostream& stream, const flat_case& row);

// Callbacks to register; other tests have their own.
int32_t ignore_player_event(int32_t handle, int32_t msg, void* data);
int32_t ignore_rm_event(void* client, int32_t msg, int32_t value);
