// Whether data reached the card, as far as the module's log tells: it claims every byte that it is
// given or asked for.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <sys/types.h>

class log_lines;

// What happened and the module's own reason for it; empty when all is well so far.
std::string card_failure(const log_lines& log);

// Moves so many bytes, in as many calls of `move` as it takes: each is told how many have moved
// before and answers as a stream's write() or read(), whose name is `operation`. Empty, or why not
// all moved; `other` is what else --device may name, "sink" or "source".
std::string move_all(size_t bytes, const char* operation, const char* other, const log_lines& log,
                     const std::function<ssize_t(size_t done)>& move);
