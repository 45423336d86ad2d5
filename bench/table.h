// The table of results, as Markdown on standard output.
#pragma once

#include <string>

void print_heading();

// Each prints a row and says whether its goal is held.
bool print_ratio(const std::string& what, double ours_ns, const std::string& reference,
                 double reference_ns, double ratio, double most_ratio);
bool print_count(const std::string& what, double ours, double reference, double most);
