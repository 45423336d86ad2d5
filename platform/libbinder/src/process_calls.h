// Whether this process has said that it serves calls.
#pragma once

namespace corvex_binder {

void want_calls();
// Says once that it has not, where it has not.
void warn_without_pool();

}  // namespace corvex_binder
