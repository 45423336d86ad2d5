// The built module beside a player service that stops answering, with the waits that both have by
// default: no operation takes long, and once the service goes on, all is as before.

#include <algorithm>
#include <atomic>
#include <chrono>
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
using std::chrono::steady_clock;

constexpr auto passthrough = AUDIO_OUTPUT_FLAG_DIRECT;
constexpr auto tunnel =
    static_cast<audio_output_flags_t>(AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC);

// Seconds. The first operation that a hanging service meets waits as long as a call may and does
// not end sooner; what comes later waits a tenth of a second for each call.
constexpr double call_s = 2.9;
constexpr double first_s = 5;
constexpr double later_s = 1.5;

template <typename Work>
double seconds_of(const Work& work) {
    const auto start = steady_clock::now();
    work();
    return std::chrono::duration<double>(steady_clock::now() - start).count();
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

int64_t write(audio_stream_out* stream, const std::string& data = sound) {
    return stream->write(stream, data.data(), data.size());
}

int64_t standby(audio_stream_out* stream) {
    return stream->common.standby(&stream->common);
}

int64_t position(audio_stream_out* stream) {
    uint64_t frames = 4711;
    timespec time = {};
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    return static_cast<int64_t>(frames);
}

int64_t render_position(audio_stream_out* stream) {
    uint32_t frames = 4711;
    EXPECT_EQ(stream->get_render_position(stream, &frames), 0);
    return frames;
}

// Bytes of the answer.
int64_t ask(audio_stream_out* stream, const char* key) {
    char* const answer = stream->common.get_parameters(&stream->common, key);
    const auto bytes = static_cast<int64_t>(strlen(answer));
    free(answer);
    return bytes;
}
int64_t ask(audio_hw_device* device, const char* key) {
    char* const answer = device->get_parameters(device, key);
    const auto bytes = static_cast<int64_t>(strlen(answer));
    free(answer);
    return bytes;
}

struct operation {
    const char* name;
    int64_t (*run)(audio_hw_device* device, audio_stream_out* stream);
    int64_t result;
    // Joined by " | ", with H for handles and # for the status. An operation without any makes
    // no call.
    const char* errors;
};

constexpr char teardown_errors[] =
    "Call ZUAVPLAYER_Stop (H) avplay failed (#) | "
    "Call ZUAVPLAYER_DetachSnd avplay(H) track(H) failed (#) | "
    "Call ZUAVPLAYER_DestroyTrack H failed (#) | "
    "Call ZUAVPLAYER_ChnClose AUD avplay(H) failed (#) | "
    "call ZUAVPLAYER_SetSndLatency failed (#) | Call ZUAVPLAYER_Destroy failed (#)";

using device_ptr = audio_hw_device*;
using out_ptr = audio_stream_out*;

// Each on a stream of its own.
const operation own_operations[] = {
    {"write", [](device_ptr, out_ptr s) { return write(s); }, 4096,
     "ZUAVPLAYER_GetBuf failed (#) | hdo_write: 4096 bytes data failed(0xffffffff)"},
    {"waking write", [](device_ptr, out_ptr s) { return write(s); }, 4096,
     "Call ZUAVPLAYER_GetDefaultConfig failed (#) | hal_avplay_create failed with(#) | "
     "hdo_open failed ffffff92"},
    {"standby", [](device_ptr, out_ptr s) { return standby(s); }, 0, teardown_errors},
    {"pause", [](device_ptr, out_ptr s) -> int64_t { return s->pause(s); }, -110,
     "Call ZUAVPLAYER_Pause (H) failed (#) | hal_avplay_pause failed(#)"},
    {"resume", [](device_ptr, out_ptr s) -> int64_t { return s->resume(s); }, -110,
     "Call ZUAVPLAYER_Resume (H) failed (#) | hal_avplay_resume failed(#)"},
    {"flush", [](device_ptr, out_ptr s) -> int64_t { return s->flush(s); }, 0,
     "Avplay Flush ZUAVPLAYER_Stop failed (#)"},
    {"close", [](device_ptr d, out_ptr s) { return d->close_output_stream(d, s), int64_t{0}; }, 0,
     teardown_errors},
};

// All on a stream whose lock a write holds.
const operation shared_operations[] = {
    {"render position", [](device_ptr, out_ptr s) { return render_position(s); }, 0,
     "hal_avplay_getstamp failed (#)"},
    {"presentation position", [](device_ptr, out_ptr s) { return position(s); }, 0,
     "hal_avplay_getstamp failed (#)"},
    {"AV-sync source", [](device_ptr d, out_ptr) { return ask(d, "hw_av_sync"); }, 0,
     "Call ZUAVPLAYER_GetDefaultConfig failed (#) | hal_avplay_create_ext failed(#) | "
     "hdo_create_hwsync_source failed\n | adev_obtain_hwsync_source failed"},
    {"get_parameters", [](device_ptr, out_ptr s) { return ask(s, "sup_sampling_rates"); },
     int64_t{sizeof("sup_sampling_rates=48000")} - 1, ""},
    {"set_parameters",
     [](device_ptr, out_ptr s) -> int64_t {
         return s->common.set_parameters(&s->common, "sampling_rate=44100");
     },
     0, ""},
    {"set_volume", [](device_ptr, out_ptr s) -> int64_t { return s->set_volume(s, 1, 1); }, 0, ""},
    {"latency", [](device_ptr, out_ptr s) -> int64_t { return s->get_latency(s); }, 341, ""},
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

    // Writes until sound is decoded.
    static bool is_played(audio_stream_out* stream, const std::string& data = sound,
                          std::chrono::seconds limit = std::chrono::seconds(20)) {
        const int64_t before = position(stream);
        const auto end = steady_clock::now() + limit;
        while (steady_clock::now() < end) {
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
        static const std::regex status("0xffffff92\\b");
        lines texts;
        for (const log_line& line : log_.lines()) {
            if (line.priority == ANDROID_LOG_ERROR && line.tag != "corvex_binder") {
                texts.push_back(
                    std::regex_replace(std::regex_replace(line.text, handle, "H"), status, "#"));
            }
        }
        std::sort(texts.begin(), texts.end());
        return texts;
    }
    static lines parted(std::string errors) {
        lines texts;
        while (!errors.empty()) {
            const size_t end = errors.find(" | ");
            texts.push_back(errors.substr(0, end));
            errors.erase(0, end == std::string::npos ? end : end + 3);
        }
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
    struct one {
        const operation& what;
        audio_stream_out* stream;
    };
    std::vector<one> phases[2];
    for (std::vector<one>& phase : phases) {
        for (const operation& each : own_operations) {
            phase.push_back({each, open(passthrough)});
            audio_stream_out* const stream = phase.back().stream;
            if (each.name != std::string("waking write")) {
                stream->write(stream, "", 0);
            }
            if (each.name == std::string("resume")) {
                ASSERT_EQ(stream->pause(stream), 0);
            }
        }
        for (const operation& each : shared_operations) {
            phase.push_back({each, phase[0].stream});
        }
    }
    service_->pause();
    const auto run = [&](const one& each) {
        return seconds_of([&] {
            EXPECT_EQ(each.what.run(device_, each.stream), each.what.result) << each.what.name;
        });
    };
    log_.clear();
    std::string expected;
    std::vector<std::future<double>> took_s;
    for (const one& each : phases[0]) {
        took_s.push_back(std::async(std::launch::async, run, each));
        if (*each.what.errors != '\0') {
            expected += (expected.empty() ? "" : " | ") + std::string(each.what.errors);
        }
    }
    for (size_t i = 0; i < took_s.size(); ++i) {
        const operation& what = phases[0][i].what;
        const double seconds = took_s[i].get();
        EXPECT_GT(seconds, *what.errors != '\0' ? call_s : 0) << what.name;
        EXPECT_LT(seconds, *what.errors != '\0' ? first_s : later_s) << what.name;
    }
    EXPECT_EQ(errors(), parted(expected));
    for (const one& each : phases[1]) {
        log_.clear();
        EXPECT_LT(run(each), later_s) << each.what.name;
        EXPECT_EQ(errors(), parted(each.what.errors)) << each.what.name;
    }
    go_on();
    for (const std::vector<one>& phase : phases) {
        for (size_t i = 0; i + 1 < std::size(own_operations); ++i) {  // the last one closed
            EXPECT_TRUE(is_played(phase[i].stream)) << phase[i].what.name;
            close(phase[i].stream);
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
    EXPECT_EQ(errors(), parted("Call ZUAVPLAYER_SndDeInit ZU_KRX_SND_0 failed (#) | "
                               "hal_snd_deinit failed(#) | Call ZUAVPLAYER_DeInit failed (#) | "
                               "hal_avplay_deinitAvplayer failed(#) | "
                               "Call ZUAVPLAYER_Destroy failed (#) | "
                               "hal_avplay_destroy_ext failed(#) | "
                               "hal_avplay_destroy_ext failed\n"));
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
        controls.push_back(std::async(std::launch::async,
                                      [&row] { return seconds_of([&] { standby(row.stream); }); }));
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
        // What was called last in vain may still be done after what comes next. Standby mends that.
        if (!is_played(row.stream, row.data, std::chrono::seconds(2))) {
            standby(row.stream);
            EXPECT_TRUE(is_played(row.stream, row.data));
        }
        close(row.stream);
    }
}

}  // namespace
