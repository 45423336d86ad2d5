#include "tools/module/absent_operations.h"

#include <initializer_list>

namespace {

struct operation {
    const char* name;
    bool present;
};

std::vector<std::string> absent_among(std::initializer_list<operation> operations) {
    std::vector<std::string> names;
    for (const operation& one : operations) {
        if (!one.present) {
            names.emplace_back(one.name);
        }
    }
    return names;
}

}  // namespace

// clang-format off
std::vector<std::string> absent_operations(const audio_hw_device& device) {
    return absent_among({
        {"close", device.common.close != nullptr},
        {"get_supported_devices", device.get_supported_devices != nullptr},
        {"init_check", device.init_check != nullptr},
        {"set_voice_volume", device.set_voice_volume != nullptr},
        {"set_master_volume", device.set_master_volume != nullptr},
        {"get_master_volume", device.get_master_volume != nullptr},
        {"set_mode", device.set_mode != nullptr},
        {"set_mic_mute", device.set_mic_mute != nullptr},
        {"get_mic_mute", device.get_mic_mute != nullptr},
        {"set_parameters", device.set_parameters != nullptr},
        {"get_parameters", device.get_parameters != nullptr},
        {"get_input_buffer_size", device.get_input_buffer_size != nullptr},
        {"open_output_stream", device.open_output_stream != nullptr},
        {"close_output_stream", device.close_output_stream != nullptr},
        {"open_input_stream", device.open_input_stream != nullptr},
        {"close_input_stream", device.close_input_stream != nullptr},
        {"get_microphones", device.get_microphones != nullptr},
        {"dump", device.dump != nullptr},
        {"set_master_mute", device.set_master_mute != nullptr},
        {"get_master_mute", device.get_master_mute != nullptr},
        {"create_audio_patch", device.create_audio_patch != nullptr},
        {"release_audio_patch", device.release_audio_patch != nullptr},
        {"get_audio_port", device.get_audio_port != nullptr},
        {"set_audio_port_config", device.set_audio_port_config != nullptr},
    });
}

std::vector<std::string> absent_operations(const audio_stream_out& stream) {
    const audio_stream& common = stream.common;
    return absent_among({
        {"get_sample_rate", common.get_sample_rate != nullptr},
        {"set_sample_rate", common.set_sample_rate != nullptr},
        {"get_buffer_size", common.get_buffer_size != nullptr},
        {"get_channels", common.get_channels != nullptr},
        {"get_format", common.get_format != nullptr},
        {"set_format", common.set_format != nullptr},
        {"standby", common.standby != nullptr},
        {"dump", common.dump != nullptr},
        {"get_device", common.get_device != nullptr},
        {"set_device", common.set_device != nullptr},
        {"set_parameters", common.set_parameters != nullptr},
        {"get_parameters", common.get_parameters != nullptr},
        {"add_audio_effect", common.add_audio_effect != nullptr},
        {"remove_audio_effect", common.remove_audio_effect != nullptr},
        {"get_latency", stream.get_latency != nullptr},
        {"set_volume", stream.set_volume != nullptr},
        {"write", stream.write != nullptr},
        {"get_render_position", stream.get_render_position != nullptr},
        {"get_next_write_timestamp", stream.get_next_write_timestamp != nullptr},
        {"set_callback", stream.set_callback != nullptr},
        {"pause", stream.pause != nullptr},
        {"resume", stream.resume != nullptr},
        {"drain", stream.drain != nullptr},
        {"flush", stream.flush != nullptr},
        {"get_presentation_position", stream.get_presentation_position != nullptr},
        {"start", stream.start != nullptr},
        {"stop", stream.stop != nullptr},
        {"create_mmap_buffer", stream.create_mmap_buffer != nullptr},
        {"get_mmap_position", stream.get_mmap_position != nullptr},
        {"update_source_metadata", stream.update_source_metadata != nullptr},
    });
}
// clang-format on
