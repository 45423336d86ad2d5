// usage: vm_hal_steps STEP...
//
// Drives one output and one input stream of the module, 48000 Hz stereo, by steps that corvex-hal
// has no command for:
//
//   write FILE           all its samples, 16 bits, without a header
//   read MS FILE         so many milliseconds, added to the file
//   standby-out          the stream's standby, as after a pause of the music
//   standby-in
//   tell FILE            makes the file, and prints its name
//   await FILE           waits until the file is there
//
// A stream is opened by its first step. Exit status: 0; 1 with a line when the module refuses; 2
// for a step that it does not know.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <hardware/audio.h>

namespace {

constexpr uint32_t rate_hz = 48000;
constexpr size_t frame_bytes = 2 * sizeof(int16_t);

[[noreturn]] void give_up(const std::string& why, int status = 1) {
    std::fprintf(stderr, "vm_hal_steps: %s\n", why.c_str());
    std::exit(status);
}

void require(bool good, const std::string& what) {
    if (!good) {
        give_up("cannot " + what);
    }
}

struct file_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using file_ptr = std::unique_ptr<std::FILE, file_closer>;

file_ptr open_file(const char* path, const char* mode) {
    file_ptr file(std::fopen(path, mode));
    require(file != nullptr, std::string("open ") + path);
    return file;
}

class streams {
  public:
    streams() {
        const hw_module_t* module = nullptr;
        require(hw_get_module_by_class(AUDIO_HARDWARE_MODULE_ID, AUDIO_HARDWARE_MODULE_ID_PRIMARY,
                                       &module) == 0 &&
                    audio_hw_device_open(module, &device_) == 0,
                "open the module");
    }
    streams(const streams&) = delete;
    streams& operator=(const streams&) = delete;
    ~streams() {
        if (out_ != nullptr) {
            device_->close_output_stream(device_, out_);
        }
        if (in_ != nullptr) {
            device_->close_input_stream(device_, in_);
        }
        audio_hw_device_close(device_);
    }

    audio_stream_out_t* out() {
        audio_config_t config = make_config(audio_channel_out_mask_from_count(2));
        require(out_ != nullptr ||
                    device_->open_output_stream(device_, 1, AUDIO_DEVICE_OUT_SPEAKER,
                                                AUDIO_OUTPUT_FLAG_PRIMARY, &config, &out_, "") == 0,
                "open an output stream");
        return out_;
    }

    audio_stream_in_t* in() {
        audio_config_t config = make_config(audio_channel_in_mask_from_count(2));
        require(in_ != nullptr || device_->open_input_stream(
                                      device_, 2, AUDIO_DEVICE_IN_BUILTIN_MIC, &config, &in_,
                                      AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC) == 0,
                "open an input stream");
        return in_;
    }

  private:
    static audio_config_t make_config(audio_channel_mask_t mask) {
        audio_config_t config = AUDIO_CONFIG_INITIALIZER;
        config.sample_rate = rate_hz;
        config.channel_mask = mask;
        config.format = AUDIO_FORMAT_PCM_16_BIT;
        return config;
    }

    audio_hw_device_t* device_ = nullptr;
    audio_stream_out_t* out_ = nullptr;
    audio_stream_in_t* in_ = nullptr;
};

void write_samples(audio_stream_out_t* out, const char* path) {
    const file_ptr file = open_file(path, "rb");
    std::vector<char> buffer(out->common.get_buffer_size(&out->common));
    size_t frames = 0;
    while (const size_t bytes = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
        require(out->write(out, buffer.data(), bytes) == static_cast<ssize_t>(bytes), "write");
        frames += bytes / frame_bytes;
    }
    uint64_t presented = 0;
    timespec when = {};
    const int status = out->get_presentation_position(out, &presented, &when);
    std::printf("wrote %zu frames, presented %s%llu\n", frames, status == 0 ? "" : "unknown ",
                static_cast<unsigned long long>(presented));
}

void read_samples(audio_stream_in_t* in, unsigned long ms, const char* path) {
    const file_ptr file = open_file(path, "ab");
    std::vector<char> buffer(in->common.get_buffer_size(&in->common));
    for (size_t left = ms * rate_hz / 1000 * frame_bytes; left > 0;) {
        const size_t bytes = left < buffer.size() ? left : buffer.size();
        require(in->read(in, buffer.data(), bytes) == static_cast<ssize_t>(bytes), "read");
        require(std::fwrite(buffer.data(), 1, bytes, file.get()) == bytes, "keep what was read");
        left -= bytes;
    }
    std::printf("read %lu ms\n", ms);
}

void await_file(const char* path) {
    while (!std::filesystem::exists(path)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    streams module;
    for (int i = 1; i < argc; ++i) {
        const std::string step = argv[i];
        const auto argument = [&]() -> const char* { return i + 1 < argc ? argv[++i] : ""; };
        if (step == "write") {
            write_samples(module.out(), argument());
        } else if (step == "read") {
            const unsigned long ms = std::strtoul(argument(), nullptr, 10);
            read_samples(module.in(), ms, argument());
        } else if (step == "standby-out") {
            require(module.out()->common.standby(&module.out()->common) == 0, step);
        } else if (step == "standby-in") {
            require(module.in()->common.standby(&module.in()->common) == 0, step);
        } else if (step == "tell") {
            const char* const path = argument();
            open_file(path, "wb");
            std::printf("%s\n", path);
        } else if (step == "await") {
            await_file(argument());
        } else {
            give_up("there is no step '" + step + "'", 2);
        }
    }
    return 0;
}
