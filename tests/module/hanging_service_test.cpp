// The built module beside a player service that stops answering, with the waits that both have by
// default: no operation takes long, and once the service goes on, all is as before.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

#include <hardware/audio.h>
#include <hardware/module_file.h>

#include "tests/support/child_process.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

namespace {

using lines = std::vector<std::string>;
using std::chrono::duration;
using std::chrono::steady_clock;

constexpr auto passthrough = AUDIO_OUTPUT_FLAG_DIRECT;
constexpr auto tunnel =
    static_cast<audio_output_flags_t>(AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC);

// Seconds. The first operation that a hanging service meets waits as long as a call may and does
// not end sooner; what comes later waits a tenth of a second for each call.
constexpr double call_s = 2.9;
constexpr double first_s = 5;
constexpr double later_s = 1.5;

double seconds_of(const std::function<void()>& work) {
    const auto start = steady_clock::now();
    work();
    return duration<double>(steady_clock::now() - start).count();
}

std::string text_and_free(char* text) {
    const std::string copy = text;
    free(text);
    return copy;
}

const std::string sound(4096, '\0');

// So many that a tenth of a second for each would be too long.
std::string tunnel_frames() {
    std::string frames;
    for (int i = 0; i < 64; ++i) {
        frames += std::string("\x55\x55\0\1\0\0\0\x40\0\0\0\0\0\0\0\0", 16) + sound.substr(0, 64);
    }
    return frames;
}

std::string write(audio_stream_out* stream, const std::string& data = sound) {
    return std::to_string(stream->write(stream, data.data(), data.size()));
}

uint64_t position(audio_stream_out* stream) {
    uint64_t frames = 4711;
    timespec time = {};
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    return frames;
}

struct operation {
    const char* name;
    enum { its_own, that_of_a_hanging_write } stream;
    bool is_awake;  // of its own stream
    std::string (*run)(audio_hw_device* device, audio_stream_out* stream);
    std::string result;
    lines errors;  // with H for handles; an operation that logs none makes no call
};

const lines teardown_errors = {
    "Call ZUAVPLAYER_Stop (H) avplay failed (0xffffff92)",
    "Call ZUAVPLAYER_DetachSnd avplay(H) track(H) failed (0xffffff92)",
    "Call ZUAVPLAYER_DestroyTrack H failed (0xffffff92)",
    "Call ZUAVPLAYER_ChnClose AUD avplay(H) failed (0xffffff92)",
    "call ZUAVPLAYER_SetSndLatency failed (0xffffff92)",
    "Call ZUAVPLAYER_Destroy failed (0xffffff92)",
};

const operation operations[] = {
    {"write",
     operation::its_own,
     true,
     [](auto*, auto* stream) { return write(stream); },
     "4096",
     {"ZUAVPLAYER_GetBuf failed (0xffffff92)", "hdo_write: 4096 bytes data failed(0xffffffff)"}},
    {"waking write",
     operation::its_own,
     false,
     [](auto*, auto* stream) { return write(stream); },
     "4096",
     {"Call ZUAVPLAYER_GetDefaultConfig failed (0xffffff92)",
      "hal_avplay_create failed with(0xffffff92)", "hdo_open failed ffffff92"}},
    {"standby", operation::its_own, true,
     [](auto*, auto* stream) { return std::to_string(stream->common.standby(&stream->common)); },
     "0", teardown_errors},
    {"close", operation::its_own, true,
     [](auto* device, auto* stream) {
         device->close_output_stream(device, stream);
         return std::string();
     },
     "", teardown_errors},
    {"pause",
     operation::its_own,
     true,
     [](auto*, auto* stream) { return std::to_string(stream->pause(stream)); },
     "-110",
     {"Call ZUAVPLAYER_Pause (H) failed (0xffffff92)", "hal_avplay_pause failed(0xffffff92)"}},
    // Of a paused stream.
    {"resume",
     operation::its_own,
     true,
     [](auto*, auto* stream) { return std::to_string(stream->resume(stream)); },
     "-110",
     {"Call ZUAVPLAYER_Resume (H) failed (0xffffff92)", "hal_avplay_resume failed(0xffffff92)"}},
    {"flush",
     operation::its_own,
     true,
     [](auto*, auto* stream) { return std::to_string(stream->flush(stream)); },
     "0",
     {"Avplay Flush ZUAVPLAYER_Stop failed (0xffffff92)"}},
    {"render position",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) {
         uint32_t frames = 4711;
         const int result = stream->get_render_position(stream, &frames);
         return std::to_string(result) + " " + std::to_string(frames);
     },
     "0 0",
     {"hal_avplay_getstamp failed (0xffffff92)"}},
    {"presentation position",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) { return std::to_string(position(stream)); },
     "0",
     {"hal_avplay_getstamp failed (0xffffff92)"}},
    {"AV-sync source",
     operation::that_of_a_hanging_write,
     true,
     [](auto* device, auto*) {
         return text_and_free(device->get_parameters(device, "hw_av_sync"));
     },
     "",
     {"Call ZUAVPLAYER_GetDefaultConfig failed (0xffffff92)",
      "hal_avplay_create_ext failed(0xffffff92)", "hdo_create_hwsync_source failed\n",
      "adev_obtain_hwsync_source failed"}},
    // Of a stream whose lock is held meanwhile.
    {"set_parameters",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) {
         return std::to_string(
             stream->common.set_parameters(&stream->common, "sampling_rate=44100"));
     },
     "0",
     {}},
    {"get_parameters",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) {
         return text_and_free(stream->common.get_parameters(&stream->common, "sup_sampling_rates"));
     },
     "sup_sampling_rates=48000",
     {}},
    {"set_volume",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) { return std::to_string(stream->set_volume(stream, 1, 1)); },
     "0",
     {}},
    {"latency",
     operation::that_of_a_hanging_write,
     true,
     [](auto*, auto* stream) { return std::to_string(stream->get_latency(stream)); },
     "341",
     {}},
};

class HangingService : public testing::Test {
  protected:
    HangingService() {
        setenv("CORVEX_PROPERTY_FILE", folder_.file("properties").c_str(), 1);
        setenv("CORVEX_BINDER_DIR", folder_.file("binder").c_str(), 1);
        unsetenv("CORVEX_BINDER_WAIT_MS");
        unsetenv("CORVEX_BINDER_CALL_TIMEOUT_MS");
        service_ = std::make_unique<child_process>(
            CORVEX_ZUAVPLAYERD, words{"--exit-with-parent", "--device", "none", "--pace", "free"});
        open_device();
    }
    ~HangingService() override {
        if (device_ != nullptr) {
            audio_hw_device_close(device_);
        }
    }

    void open_device() {
        const hw_module_t* module = nullptr;
        ASSERT_EQ(hw_load_module_file(CORVEX_MODULE_FILE, AUDIO_HARDWARE_MODULE_ID, &module), 0)
            << hw_module_error();
        ASSERT_EQ(audio_hw_device_open(module, &device_), 0);
    }
    audio_stream_out* open(audio_output_flags_t flags) {
        audio_config config = {};
        config.sample_rate = 48000;
        config.channel_mask = AUDIO_CHANNEL_OUT_STEREO;
        config.format = AUDIO_FORMAT_PCM_16_BIT;
        audio_stream_out* stream = nullptr;
        EXPECT_EQ(device_->open_output_stream(device_, 1, AUDIO_DEVICE_OUT_SPEAKER, flags, &config,
                                              &stream, nullptr),
                  0);
        return stream;
    }
    void close(audio_stream_out* stream) { device_->close_output_stream(device_, stream); }

    // Writes until sound is decoded, which a bounded number of writes has to bring about.
    static bool is_played(audio_stream_out* stream, const std::string& data = sound) {
        const uint64_t before = position(stream);
        for (int i = 0; i < 500; ++i) {
            write(stream, data);
            if (position(stream) > before) {
                return true;
            }
        }
        return false;
    }
    void go_on() { service_->send(SIGCONT); }

    // The module's error lines since the log was last cleared, sorted.
    lines errors() const {
        static const std::regex handle("0x[12]0000[0-9a-f]{3}\\b");
        lines texts;
        for (const log_line& line : log_.lines()) {
            if (line.priority == ANDROID_LOG_ERROR && line.tag != "corvex_binder") {
                texts.push_back(std::regex_replace(line.text, handle, "H"));
            }
        }
        std::sort(texts.begin(), texts.end());
        return texts;
    }
    static lines sorted(lines texts) {
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    const scratch_dir folder_;
    log_recorder log_;
    std::unique_ptr<child_process> service_;
    audio_hw_device* device_ = nullptr;
};

// All at once, so that each is the first that meets the hang; then one after the other.
TEST_F(HangingService, EndsEveryStreamOperationInTime) {
    constexpr size_t count = std::size(operations);
    audio_stream_out* streams[2][count] = {};
    for (auto& phase : streams) {
        for (size_t i = 0; i < count; ++i) {
            const operation& each = operations[i];
            if (each.stream == operation::that_of_a_hanging_write) {
                phase[i] = phase[0];
                continue;
            }
            phase[i] = open(passthrough);
            if (each.is_awake) {
                phase[i]->write(phase[i], "", 0);
            }
            if (each.name == std::string("resume")) {
                ASSERT_EQ(phase[i]->pause(phase[i]), 0);
            }
        }
    }
    service_->pause();
    log_.clear();

    const auto run = [&](size_t i, audio_stream_out* stream) {
        const operation& each = operations[i];
        std::string result;
        const double took_s = seconds_of([&] { result = each.run(device_, stream); });
        EXPECT_EQ(result, each.result) << each.name;
        return took_s;
    };
    std::vector<std::future<double>> first;
    lines expected;
    for (size_t i = 0; i < count; ++i) {
        first.push_back(std::async(std::launch::async, run, i, streams[0][i]));
        const lines& more = operations[i].errors;
        expected.insert(expected.end(), more.begin(), more.end());
    }
    for (size_t i = 0; i < count; ++i) {
        const double took_s = first[i].get();
        EXPECT_LT(took_s, operations[i].errors.empty() ? later_s : first_s) << operations[i].name;
        EXPECT_GT(took_s, operations[i].errors.empty() ? 0 : call_s) << operations[i].name;
    }
    EXPECT_EQ(errors(), sorted(expected));

    for (size_t i = 0; i < count; ++i) {
        log_.clear();
        EXPECT_LT(run(i, streams[1][i]), later_s) << operations[i].name;
        EXPECT_EQ(errors(), sorted(operations[i].errors)) << operations[i].name;
    }

    go_on();
    for (auto& phase : streams) {
        for (size_t i = 0; i < count; ++i) {
            const std::string name = operations[i].name;
            if (operations[i].stream == operation::that_of_a_hanging_write || name == "close") {
                continue;
            }
            EXPECT_TRUE(is_played(phase[i])) << name;
            close(phase[i]);
        }
    }
}

// The device's own operations, and that a service that went on is waited for as before.
TEST_F(HangingService, EndsClosingAndOpeningOfTheDeviceInTime) {
    free(device_->get_parameters(device_, "hw_av_sync"));
    service_->pause();
    log_.clear();
    const auto close_device = [this] { EXPECT_EQ(audio_hw_device_close(device_), 0); };
    const double closing_s = seconds_of(close_device);
    EXPECT_GT(closing_s, call_s);
    EXPECT_LT(closing_s, first_s);
    EXPECT_EQ(
        errors(),
        sorted({"Call ZUAVPLAYER_SndDeInit ZU_KRX_SND_0 failed (0xffffff92)",
                "hal_snd_deinit failed(0xffffff92)", "Call ZUAVPLAYER_DeInit failed (0xffffff92)",
                "hal_avplay_deinitAvplayer failed(0xffffff92)",
                "Call ZUAVPLAYER_Destroy failed (0xffffff92)",
                "hal_avplay_destroy_ext failed(0xffffff92)", "hal_avplay_destroy_ext failed\n"}));
    EXPECT_LT(seconds_of([this] { open_device(); }), later_s);
    EXPECT_LT(seconds_of(close_device), later_s);

    go_on();
    open_device();
    audio_stream_out* const stream = open(passthrough);
    EXPECT_TRUE(is_played(stream));
    close(stream);
    close_device();

    service_->pause();
    const double opening_s = seconds_of([this] { open_device(); });
    EXPECT_GT(opening_s, call_s);
    EXPECT_LT(opening_s, first_s);
    go_on();
}

// Writes that are on their way when the service hangs, wherever each is, and what waits behind
// them.
TEST_F(HangingService, LetsNobodyWaitLongForAWriteOfAnotherThread) {
    free(device_->get_parameters(device_, "hw_av_sync"));
    const struct {
        audio_stream_out* stream;
        std::string data;
    } rows[] = {
        {open(tunnel), tunnel_frames()}, {open(passthrough), sound}, {open(passthrough), sound}};
    std::atomic<bool> goes_on{true};
    std::vector<std::future<double>> writers;
    for (const auto& row : rows) {
        ASSERT_TRUE(is_played(row.stream, row.data));
        writers.push_back(std::async(std::launch::async, [&goes_on, &row] {
            double longest_s = 0;
            while (goes_on) {
                longest_s = std::max(longest_s, seconds_of([&] { write(row.stream, row.data); }));
            }
            return longest_s;
        }));
    }
    service_->pause();
    std::vector<std::future<double>> controls;
    for (const auto& row : rows) {
        controls.push_back(std::async(std::launch::async, [&row] {
            return seconds_of([&] { row.stream->common.standby(&row.stream->common); });
        }));
    }
    for (std::future<double>& took_s : controls) {
        EXPECT_LT(took_s.get(), first_s);
    }
    goes_on = false;
    for (std::future<double>& longest_s : writers) {
        EXPECT_LT(longest_s.get(), first_s);
    }
    go_on();
    for (const auto& row : rows) {
        EXPECT_TRUE(is_played(row.stream, row.data));
        close(row.stream);
    }
}

}  // namespace
