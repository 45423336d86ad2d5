// Why the last call of a loader function failed, one text for each thread.
#pragma once

namespace module_loader {

void clear_error();

// Keeps the formatted text for hw_module_error() and logs it under "HAL". Answers `result`.
__attribute__((format(printf, 2, 3))) int fail(int result, const char* format, ...);

}  // namespace module_loader
