// System calls of one side of a subject, counted by strace in runs of this program.
#pragma once

#include <string>

// In all processes and threads, each time. `side` is "ours" or "reference".
double system_calls_each(const std::string& subject, const std::string& side);
