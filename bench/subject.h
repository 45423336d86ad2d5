// What is measured: one thing that the built module or a built library does, beside the plainest
// program that does the same work. Each subject is made in a process of its own.
#pragma once

#include <cstdint>
#include <memory>

class subject {
  public:
    virtual ~subject() = default;

    // Do the work so many times. A result that is wrong ends the program, see give_up().
    virtual void ours(uint32_t times) = 0;
    virtual void reference(uint32_t times) = 0;
};

// One row of the table of subjects.
struct subject_entry {
    const char* name;
    const char* unit;       // what is done once
    const char* reference;  // what the reference does for it
    // The most that is wanted of the first over the second, and of system calls and allocations
    // each time.
    double cpu_ratio;
    double system_calls;
    double allocations;
    std::unique_ptr<subject> (*make)();
};

std::unique_ptr<subject> make_pcm_write();
std::unique_ptr<subject> make_capture();
std::unique_ptr<subject> make_fold();
std::unique_ptr<subject> make_search_random();
std::unique_ptr<subject> make_search_zeros();
std::unique_ptr<subject> make_search_near_matches();
std::unique_ptr<subject> make_tunnel_write();
std::unique_ptr<subject> make_chunk();
std::unique_ptr<subject> make_service_chunk();
std::unique_ptr<subject> make_position();

[[noreturn]] void give_up(const char* format, ...) __attribute__((format(printf, 1, 2)));
