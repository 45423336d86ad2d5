// Measuring one subject.
#pragma once

#include "bench/subject.h"

struct measurement {
    double ours_ns;  // of CPU time, each time
    double reference_ns;
    double ratio;  // the median of the pairs' own
    double allocations;
    double reference_allocations;
};

// Runs both sides in turn, in pairs long enough to be told apart, and takes medians.
measurement measure(subject& measured);
