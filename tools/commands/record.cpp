// corvex-hal record: the primary input into a WAV file, as the audio server's recorder would.

#include <chrono>
#include <cmath>
#include <stdlib.h>

#include "host/environment.h"
#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/device/output_file.h"
#include "tools/device/source_device.h"
#include "tools/module/own_tinyalsa.h"
#include "tools/pcm/recording.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/summary.h"

namespace {

using std::chrono::steady_clock;

constexpr double max_seconds = 24 * 3600;

std::unique_ptr<hal_input_stream> open_stream(const hal_device& device, uint32_t rate_hz,
                                              unsigned channels, const log_lines& log) {
    const stream_kind kind{rate_hz, audio_channel_in_mask_from_count(channels)};
    int status = 0;
    auto stream = hal_input_stream::open(device, kind, status);
    if (stream == nullptr) {
        throw refused_stream("an input stream of " + std::to_string(rate_hz) + " Hz", status, log,
                             "use another --rate, or ");
    }
    stream->require_kind(kind);
    return stream;
}

class record_command : public command {
  public:
    void declare(CLI::App& app) override {
        app.add_option("FILE", file_, "WAV file to write; overwritten")->required();
        app.add_option("-d,--device", device_,
                       "What to record:\n"
                       "  auto      $CORVEX_ALSA_CAPTURE if set, else card 0\n"
                       "  card      card 0, device 0 (hw:0,0)\n"
                       "  X.wav     that WAV file (48000 Hz, stereo), then silence\n"
                       "  NAME      an ALSA PCM, such as default or plughw:1")
            ->capture_default_str();
        app.add_option("-r,--rate", rate_hz_, "Rate of the stream and the file, in Hz")
            ->capture_default_str();
        app.add_option("-c,--channels", channels_, "Channels of the stream and the file")
            ->check(CLI::IsMember({1, 2}))
            ->capture_default_str();
        app.add_option("-s,--seconds", seconds_, "How long; until Ctrl-C when left out")
            ->check(CLI::Range(0.001, max_seconds));
    }

    int run(const global_options& options, log_lines& log) override {
        const chosen_device source = choose_source({device_, environment_value(capture_variable)});
        require_writable_wav(file_, source.wav_path, "recorded");
        source.apply();
        if (!seconds_ && source.is_wav_file()) {
            // A file gives its frames at once, and silence without end after them: nobody would be
            // quick enough to stop that.
            setenv("CORVEX_WAV_PACE", "real", 0);
        }

        interrupt_guard interrupt;
        const auto start = steady_clock::now();
        recording_report report;
        {
            const hal_module module(options.module_path);
            require_tinyalsa_for(module, source);
            const hal_device device(module, absent_player_service::go_on);
            log.forget();
            const problems_until_device_closes quiet_close(log);
            const auto stream = open_stream(device, rate_hz_, channels_, log);
            progress_line progress(!log.shown());
            recording recorder(*stream, channels_, file_, log, interrupt, progress,
                               frames_wanted());
            report = recorder.run();
        }
        const std::chrono::duration<double> took = steady_clock::now() - start;
        if (!report.failure.empty()) {
            throw program_error(report.failure);
        }
        summary rows = summarise(source, report);
        rows.push_back(took_row(took.count()));
        add_module_log(rows, log.problems());
        print(rows);
        return report.interrupted && seconds_ ? exit_interrupted : exit_success;
    }

  private:
    std::optional<uint64_t> frames_wanted() const {
        if (!seconds_) {
            return std::nullopt;
        }
        return static_cast<uint64_t>(std::llround(*seconds_ * rate_hz_));
    }

    summary summarise(const chosen_device& source, const recording_report& report) const {
        return {
            {report.interrupted && seconds_ ? "interrupted" : "recorded",
             file_ + " (WAV, 16 bit; " + rate_and_channels_text(rate_hz_, channels_) + ")"},
            {"from", source.text},
            frames_row("read", report.frames, rate_hz_,
                       " in " + std::to_string(report.reads) + " reads of " +
                           std::to_string(report.read_bytes) + " bytes"),
            {"peak", level_text(report.peak)},
            count_row("lost", report.frames_lost, "frames", ", as far as the module counts them"),
        };
    }

    std::string file_;
    std::string device_ = "auto";
    uint32_t rate_hz_ = 48000;
    unsigned channels_ = 2;
    std::optional<double> seconds_;
};

}  // namespace

std::unique_ptr<command> make_record() {
    return std::make_unique<record_command>();
}
