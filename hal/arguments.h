// Refusal of null pointers that a careless framework may pass.
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
