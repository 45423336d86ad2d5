// Whether data reached the card, as far as the module's log tells: it claims every byte that it is
// given or asked for.
#pragma once

#include <string>

class log_lines;

// What happened and the module's own reason for it; empty when all is well so far.
std::string card_failure(const log_lines& log);
