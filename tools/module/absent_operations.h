// The names of the operations that a table leaves null, in the table's own order.
#pragma once

#include <string>
#include <vector>

#include <hardware/audio.h>

std::vector<std::string> absent_operations(const audio_hw_device& device);
std::vector<std::string> absent_operations(const audio_stream_out& stream);
