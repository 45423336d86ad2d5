#include "tests/platform/binder_fixture.h"

const char* const probe_service = BINDER_PROBE_SERVICE;
