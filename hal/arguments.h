// What operations do with arguments that they do not use, or cannot.
#pragma once

void log_null_argument(const char* operation);

// Tells whether any of the pointers is null, and logs an error line for the operation if so.
template <typename... Pointer>
bool any_null(const char* operation, Pointer... pointer) {
    if ((false || ... || (pointer == nullptr))) {
        log_null_argument(operation);
        return true;
    }
    return false;
}

// An operation that is accepted and does nothing: its entry trace, and 0, or -EINVAL for a null
// stream.
int accept_and_ignore(const char* operation, const void* stream);
