// The table of results, as Markdown on standard output.
#pragma once

#include <string>

#include "bench/measure.h"

void print_heading();

// Each prints a row and says whether its goal is held.
bool print_time(const std::string& what, const std::string& reference, const measurement& found,
                double most_ratio);
bool print_count(const std::string& what, double ours, double reference, double most);
