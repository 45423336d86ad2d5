// The built module, loaded and opened as the audio server does it.
#pragma once

#include <cstdint>

#include <hardware/audio.h>

// Its device is open for the object's life. There is no player service but one that was there
// before, in this process or in another.
class loaded_module {
  public:
    loaded_module();
    ~loaded_module();
    loaded_module(const loaded_module&) = delete;
    loaded_module& operator=(const loaded_module&) = delete;

    audio_stream_out* open_output(audio_output_flags_t flags) const;  // 48 kHz, stereo
    audio_stream_in* open_input(uint32_t rate_hz, audio_channel_mask_t mask) const;

    void close(audio_stream_out* stream) const;
    void close(audio_stream_in* stream) const;

  private:
    audio_hw_device* device_ = nullptr;
};

// A function that the module exports, by its declared type. Loads the module.
void* exported(const char* name);
template <typename Function>
Function* exported(const char* name) {
    return reinterpret_cast<Function*>(exported(name));
}
