// The audio module and its device, loaded and opened the way the audio server does it.
//
// The module stays loaded for the process's life: its threads and its log lines may outlast a
// device. Declare a device after its module and streams after their device, so that they close in
// reverse.
#pragma once

#include <string>

#include <hardware/audio.h>

class hal_module {
  public:
    // Loads the module file `path`, or searches for the primary audio module when it is empty.
    // Throws program_error.
    explicit hal_module(const std::string& path);

    const hw_module_t& descriptor() const { return *module_; }
    const std::string& path() const { return path_; }

  private:
    const hw_module_t* module_ = nullptr;
    std::string path_;
};

// What the device's opening is to do about a player service that is not there yet. The user's own
// CORVEX_BINDER_WAIT_MS holds either way.
enum class absent_player_service { go_on, wait };

class hal_device {
  public:
    // Opens "audio_hw_if". Throws program_error.
    hal_device(const hal_module& module, absent_player_service then);
    ~hal_device();
    hal_device(const hal_device&) = delete;
    hal_device& operator=(const hal_device&) = delete;

    // The reply text, or empty when there is none.
    std::string parameters(const char* keys) const;

    audio_hw_device& table() const { return *device_; }

  private:
    audio_hw_device* device_ = nullptr;
};

// "-38 (Function not implemented)"; "7" for a code that is no negative errno.
std::string status_text(int status);
