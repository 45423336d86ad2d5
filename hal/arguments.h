// Refusal of null pointers that a careless framework may pass.
#pragma once

#include <initializer_list>

// Tells whether any of the pointers is null, and logs an error line for the operation if so.
bool any_null(const char* operation, std::initializer_list<const void*> arguments);
