#include "bench/loaded_module.h"

#include <cstdlib>
#include <dlfcn.h>

#include <hardware/module_file.h>

#include "bench/subject.h"

namespace {

const hw_module_t* load() {
    const hw_module_t* module = nullptr;
    if (hw_load_module_file(CORVEX_MODULE_FILE, AUDIO_HARDWARE_MODULE_ID, &module) != 0) {
        give_up("cannot load the module: %s", hw_module_error());
    }
    return module;
}

audio_config config_of(uint32_t rate_hz, audio_channel_mask_t mask) {
    audio_config config = {};
    config.sample_rate = rate_hz;
    config.channel_mask = mask;
    config.format = AUDIO_FORMAT_PCM_16_BIT;
    return config;
}

}  // namespace

loaded_module::loaded_module() {
    if (audio_hw_device_open(load(), &device_) != 0) {
        give_up("the device does not open");
    }
}

loaded_module::~loaded_module() {
    audio_hw_device_close(device_);
}

audio_stream_out* loaded_module::open_output(audio_output_flags_t flags) const {
    if ((flags & AUDIO_OUTPUT_FLAG_HW_AV_SYNC) != 0) {
        std::free(device_->get_parameters(device_, "hw_av_sync"));
    }
    audio_config config = config_of(48000, AUDIO_CHANNEL_OUT_STEREO);
    audio_stream_out* stream = nullptr;
    if (device_->open_output_stream(device_, 1, AUDIO_DEVICE_OUT_SPEAKER, flags, &config, &stream,
                                    nullptr) != 0) {
        give_up("an output stream does not open");
    }
    return stream;
}

audio_stream_in* loaded_module::open_input(uint32_t rate_hz, audio_channel_mask_t mask) const {
    audio_config config = config_of(rate_hz, mask);
    audio_stream_in* stream = nullptr;
    if (device_->open_input_stream(device_, 2, AUDIO_DEVICE_IN_BUILTIN_MIC, &config, &stream,
                                   AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC) != 0) {
        give_up("an input stream does not open");
    }
    return stream;
}

void loaded_module::close(audio_stream_out* stream) const {
    device_->close_output_stream(device_, stream);
}

void loaded_module::close(audio_stream_in* stream) const {
    device_->close_input_stream(device_, stream);
}

void* exported(const char* name) {
    void* const function = dlsym(load()->dso, name);
    if (function == nullptr) {
        give_up("the module has no %s", name);
    }
    return function;
}
