// Whether streams that write at the same time hold each other up alike.
#pragma once

// Prints the row and says whether its goal is held. Needs one processor for all that takes part.
bool print_fairness();
