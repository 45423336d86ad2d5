// What every file that is to be played has to be, before a library is let at it.
#pragma once

#include <string>

// Throws program_error for a path that is not there, is not a regular file, or is empty.
void require_readable_file(const std::string& path);
