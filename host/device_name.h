// What the name of a device stands for, as --device and the variables of the environment give it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

// In front of a path, whatever that ends in.
constexpr char wav_prefix[] = "wav:";

// The path of a WAV file that a name stands for, if it does: what is behind "wav:" (which may be
// nothing), and where names come from a person also one that ends in .wav.
std::optional<std::filesystem::path> wav_path_in(const std::string& name, bool from_person);
