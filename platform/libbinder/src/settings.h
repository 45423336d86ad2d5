// What the environment says. Read at each use.
#pragma once

namespace corvex_binder {

// How long getService() waits for a service to come.
int service_wait_ms();

// How long a call waits for its reply; 0 is for ever.
int call_timeout_ms();

}  // namespace corvex_binder
