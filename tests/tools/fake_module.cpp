// An audio module without audio. It adds a line to the file "calls" for each call worth checking,
// adds the bytes written to the file "pcm", leaves the folder where it would look for services in
// the files "service_folder" and "service_wait", and misbehaves as variables FAKE_... tell it:
//
//   open_device, open_stream   status that the open answers
//   open_log                   text of an error line that opening the device logs
//   rate, mask, format         what the stream answers instead of what was asked
//   buffer                     buffer size in bytes, instead of 480 frames
//   write                      half: takes half of each piece; zero; fail: answers -EIO
//   position                   all: everything written (also when left out); zero; fail: refuses;
//                              card: a card that starts at 240 frames, plays 50 of them between
//                              two looks, and answers 0 once it has run dry; dry: 0 after every
//                              second write; stall: stops at 4800
//   log                        text of an error line that the first write logs
//   signals                    1: the third write sends the process SIGINT; 2: then SIGTERM as well
//   in_delay                   the input hears what is written, so many frames later; without it
//                              the input gives the file "sound" and then silence
//   in_read                    half: gives half of each piece; zero; fail: answers -EIO
//   in_log                     text of an error line that the second read logs
//   in_signal                  1: the third read sends the process SIGINT
//   open_input                 status that the open of an input answers
//   bare                       1: all operations that may be absent are absent

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>

#include <android/log.h>
#include <hardware/audio.h>

namespace {

std::string scripted(const std::string& key) {
    const char* value = std::getenv(("FAKE_" + key).c_str());
    return value == nullptr ? "" : value;
}

uint32_t scripted_number(const std::string& key, uint32_t otherwise) {
    const std::string text = scripted(key);
    return text.empty() ? otherwise : static_cast<uint32_t>(std::strtoll(text.c_str(), nullptr, 0));
}

void record_call(const std::string& line) {
    std::ofstream("calls", std::ios::app) << line << "\n";
}

void log_scripted(const std::string& key) {
    if (const std::string text = scripted(key); !text.empty()) {
        __android_log_write(ANDROID_LOG_ERROR, "fake", text.c_str());
    }
}

// One device and one stream of each direction at a time.
audio_hw_device device;
audio_stream_out stream;
audio_stream_in input;
audio_config asked_input;
std::string heard;  // what the input gives, as bytes
size_t heard_taken;
uint32_t reads;
audio_config asked;
uint64_t frames_written;
uint64_t frames_played;
uint32_t writes;

ssize_t write_pcm(audio_stream_out*, const void* data, size_t bytes) {
    record_call("write " + std::to_string(bytes));
    ++writes;
    if (writes == 1) {
        log_scripted("log");
    } else if (writes == 3) {
        const int signals[] = {SIGINT, SIGTERM};
        std::for_each_n(signals, scripted_number("signals", 0), raise);
    }
    const size_t frame_bytes = std::max<size_t>(audio_stream_out_frame_size(&stream), 1);
    const std::string behaviour = scripted("write");
    if (behaviour == "zero" || behaviour == "fail") {
        return behaviour == "zero" ? 0 : -EIO;
    }
    if (behaviour == "half" && bytes / frame_bytes > 1) {
        bytes = bytes / frame_bytes / 2 * frame_bytes;
    }
    std::ofstream("pcm", std::ios::app) << std::string(static_cast<const char*>(data), bytes);
    if (!scripted("in_delay").empty()) {
        heard.append(static_cast<const char*>(data), bytes);
    }
    frames_written += bytes / frame_bytes;
    // A write returns once no more than the card's 960 frames are queued.
    frames_played = std::max(frames_played, std::max<uint64_t>(frames_written, 960) - 960);
    return static_cast<ssize_t>(bytes);
}

int get_presentation_position(const audio_stream_out*, uint64_t* frames, timespec* when) {
    clock_gettime(CLOCK_MONOTONIC, when);
    const std::string behaviour = scripted("position");
    *frames = behaviour == "zero" ? 0 : frames_written;
    if (behaviour == "stall") {
        *frames = std::min<uint64_t>(*frames, 4800);
    } else if (behaviour == "dry") {
        *frames = writes % 2 == 0 ? 0 : frames_written;
    } else if (!behaviour.empty() && behaviour.find_first_not_of("0123456789") == behaviour.npos) {
        *frames = frames_written == 0 ? 0 : scripted_number("position", 0);
    } else if (behaviour == "card") {
        frames_played += frames_written >= 240 ? 50 : 0;
        *frames = frames_played <= frames_written ? frames_played : 0;
    }
    return behaviour == "fail" ? -ENOSYS : 0;
}

int get_render_position(const audio_stream_out* out, uint32_t* frames) {
    uint64_t presented = 0;
    timespec when{};
    const int status = get_presentation_position(out, &presented, &when);
    *frames = scripted_number("render", static_cast<uint32_t>(presented));
    return status;
}

int flush(audio_stream_out*) {
    record_call("flush");
    frames_written = 0;
    return static_cast<int>(scripted_number("flush", 0));
}

// What a direct stream has beside the others' operations.
void add_direct_controls() {
    stream.pause = [](audio_stream_out*) {
        record_call("pause");
        return 0;
    };
    stream.resume = [](audio_stream_out*) {
        record_call("resume");
        return 0;
    };
    stream.flush = flush;
}

int open_output_stream(audio_hw_device*, audio_io_handle_t, audio_devices_t devices,
                       audio_output_flags_t flags, audio_config* config,
                       audio_stream_out** stream_out, const char*) {
    std::ostringstream call;
    call << "open_output_stream " << config->sample_rate << " " << config->channel_mask << " "
         << config->format << " " << devices << " " << flags;
    record_call(call.str());
    asked = *config;
    stream = {};
    if (scripted_number("bare", 0) == 0) {
        stream.common.get_sample_rate = [](const audio_stream*) {
            return scripted_number("rate", asked.sample_rate);
        };
        stream.common.get_channels = [](const audio_stream*) {
            return scripted_number("mask", asked.channel_mask);
        };
        stream.common.get_format = [](const audio_stream*) {
            return static_cast<audio_format_t>(scripted_number("format", asked.format));
        };
        stream.common.get_buffer_size = [](const audio_stream*) {
            const uint32_t channels = audio_channel_count_from_out_mask(asked.channel_mask);
            return size_t{scripted_number("buffer", 480 * 2 * channels)};
        };
        stream.common.standby = [](audio_stream*) {
            record_call("standby");
            return 0;
        };
        stream.get_latency = [](const audio_stream_out*) { return 20U; };
        stream.write = write_pcm;
        stream.get_presentation_position = get_presentation_position;
        stream.get_render_position = get_render_position;
        if ((flags & AUDIO_OUTPUT_FLAG_DIRECT) != 0) {
            add_direct_controls();
        }
    }
    *stream_out = &stream;
    return static_cast<int>(scripted_number("open_stream", 0));
}

ssize_t read_pcm(audio_stream_in*, void* data, size_t bytes) {
    record_call("read " + std::to_string(bytes));
    ++reads;
    if (reads == 2) {
        log_scripted("in_log");
    } else if (reads == 3 && scripted_number("in_signal", 0) != 0) {
        std::raise(SIGINT);
    }
    const std::string behaviour = scripted("in_read");
    if (behaviour == "zero" || behaviour == "fail") {
        return behaviour == "zero" ? 0 : -EIO;
    }
    bytes = behaviour == "half" ? (bytes + 4) / 8 * 4 : bytes;
    std::string piece = heard.substr(std::min(heard_taken, heard.size()), bytes);
    heard_taken += bytes;
    piece.resize(bytes);
    std::copy(piece.begin(), piece.end(), static_cast<char*>(data));
    return static_cast<ssize_t>(bytes);
}

int open_input_stream(audio_hw_device*, audio_io_handle_t, audio_devices_t devices,
                      audio_config* config, audio_stream_in** stream_in, audio_input_flags_t,
                      const char*, audio_source_t source) {
    std::ostringstream call;
    call << "open_input_stream " << config->sample_rate << " " << config->channel_mask << " "
         << config->format << " " << std::hex << devices << " " << source;
    record_call(call.str());
    asked_input = *config;
    input = {};
    if (const std::string delay = scripted("in_delay"); !delay.empty()) {
        heard.insert(0, 4 * scripted_number("in_delay", 0), '\0');
    } else {
        std::ifstream file("sound", std::ios::binary);
        heard.assign(std::istreambuf_iterator<char>(file), {});
    }
    input.common.get_sample_rate = [](const audio_stream*) { return asked_input.sample_rate; };
    input.common.get_channels = [](const audio_stream*) { return asked_input.channel_mask; };
    input.common.get_format = [](const audio_stream*) {
        return static_cast<audio_format_t>(scripted_number("format", asked_input.format));
    };
    input.common.get_buffer_size = [](const audio_stream*) {
        return size_t{scripted_number("buffer", 2048)};
    };
    input.read = read_pcm;
    input.get_input_frames_lost = [](audio_stream_in*) { return reads == 1 ? 7U : 0U; };
    *stream_in = &input;
    return static_cast<int>(scripted_number("open_input", 0));
}

int open_device(const hw_module_t* module, const char* name, hw_device_t** device_out) {
    record_call(std::string("open ") + name);
    if (const char* folder = std::getenv("CORVEX_BINDER_DIR")) {
        std::ofstream("service_folder") << folder;
    }
    std::ofstream("service_wait") << std::getenv("CORVEX_BINDER_WAIT_MS");
    log_scripted("open_log");
    device.common.tag = HARDWARE_DEVICE_TAG;
    device.common.version = AUDIO_DEVICE_API_VERSION_2_0;
    device.common.module = const_cast<hw_module_t*>(module);
    device.common.close = [](hw_device_t*) {
        record_call("close_device");
        return 0;
    };
    device.open_output_stream = open_output_stream;
    if (scripted_number("bare", 0) == 0) {
        device.get_parameters = [](const audio_hw_device*, const char* keys) {
            record_call(std::string("get_parameters ") + keys);
            const std::string reply = scripted("sync");
            return strdup(reply.empty() ? "hw_av_sync=5" : reply.c_str());
        };
    }
    device.close_output_stream = [](audio_hw_device*, audio_stream_out*) {
        record_call("close_output_stream");
    };
    if (scripted_number("bare", 0) == 0) {
        device.open_input_stream = open_input_stream;
        device.close_input_stream = [](audio_hw_device*, audio_stream_in*) {
            record_call("close_input_stream");
        };
    }
    *device_out = &device.common;
    return static_cast<int>(scripted_number("open_device", 0));
}

hw_module_methods_t methods = {open_device};

}  // namespace

extern "C" __attribute__((visibility("default"))) hw_module_t HAL_MODULE_INFO_SYM;
hw_module_t HAL_MODULE_INFO_SYM = {HARDWARE_MODULE_TAG,
                                   AUDIO_MODULE_API_VERSION_0_1,
                                   HARDWARE_HAL_API_VERSION,
                                   AUDIO_HARDWARE_MODULE_ID,
                                   "fake audio module",
                                   "the tests",
                                   &methods,
                                   nullptr,
                                   {}};
