// A file that is going to be written, looked at beforehand.
#pragma once

#include <filesystem>

// The folder that a path names a file in.
std::filesystem::path folder_of(const std::filesystem::path& file);

// Throws program_error when the file's folder, name or rights do not allow writing it, or when it
// is the input (which may be empty), with what shall be done to that: "played".
void require_writable_wav(const std::filesystem::path& wav, const std::filesystem::path& input,
                          const char* done_to_input);
