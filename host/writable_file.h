// A file that is going to be written, tried beforehand.
#pragma once

#include <filesystem>

// Why the file cannot be made or written, as an errno; 0 when it can. Opens it for that, does not
// wait and leaves all as it was.
int writing_error(const std::filesystem::path& file);
