// corvex-hal loop: plays and records at once and tells how long a sound takes around.

#include <cmath>

#include "host/device_name.h"
#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/device/sink_device.h"
#include "tools/device/source_device.h"
#include "tools/module/own_tinyalsa.h"
#include "tools/pcm/level_meter.h"
#include "tools/pcm/round_trip.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/number_text.h"
#include "tools/terminal/summary.h"

namespace {

constexpr uint32_t rate_hz = 48000;

void require_stereo(const hal_stream* stream, const char* direction, int status) {
    if (stream == nullptr) {
        throw program_error(std::string("the module refuses a primary ") + direction +
                            " stream: " + status_text(status) + "; see its log with -v");
    }
    if (stream->format() != AUDIO_FORMAT_PCM_16_BIT || stream->sample_rate_hz() != rate_hz) {
        throw program_error(std::string("the module opened another kind of ") + direction +
                            " stream than asked for; see what it offers with 'corvex-hal info'");
    }
}

class loop_command : public command {
  public:
    void declare(CLI::App& app) override {
        app.add_option("-p,--playback", playback_,
                       "Where to play: card, an ALSA PCM, or X.wav (overwritten)")
            ->capture_default_str();
        app.add_option("-d,--capture", capture_,
                       "What to record: card, an ALSA PCM, or the same X.wav")
            ->capture_default_str();
    }

    int run(const global_options& options, log_lines& log) override {
        const chosen_device sink = choose_sink({playback_, {}, ""});
        const chosen_device source = choose_capture(sink);
        sink.apply();
        source.apply();

        interrupt_guard interrupt;
        round_trip_report report;
        {
            const hal_module module(options.module_path);
            require_tinyalsa_for(module, sink);
            require_tinyalsa_for(module, source);
            const hal_device device(module, absent_player_service::go_on);
            log.forget();
            const problems_until_device_closes quiet_close(log);
            int status = 0;
            const auto output = hal_output_stream::open(device, {rate_hz, AUDIO_CHANNEL_OUT_STEREO},
                                                        AUDIO_OUTPUT_FLAG_PRIMARY, status);
            require_stereo(output.get(), "output", status);
            const auto input =
                hal_input_stream::open(device, {rate_hz, AUDIO_CHANNEL_IN_STEREO}, status);
            require_stereo(input.get(), "input", status);
            progress_line progress(!log.shown());
            report = measure_round_trip(*output, *input, log, interrupt, progress);
        }
        if (!report.failure.empty()) {
            throw program_error(report.failure + "; choose another --playback or --capture");
        }
        if (report.interrupted) {
            return exit_interrupted;
        }
        if (!report.found) {
            throw program_error(
                "what was played to " + sink.text + " did not come back from " + source.text +
                " (its peak was " + level_text(report.peak) +
                "); join the output to the input by a cable or through the air, or use the two "
                "ends of a loopback card, or one WAV file for both");
        }
        const double delay_ms = static_cast<double>(report.delay_frames) * 1000 / rate_hz;
        const double match_percent = std::floor(static_cast<double>(report.correlation) * 100);
        summary rows = {
            {"played to", sink.text},
            {"heard from", source.text},
            count_row("round trip", report.delay_frames, "frames",
                      ", " + decimal_text(delay_ms, 1) + " ms from write to read"),
            {"match", decimal_text(match_percent, 0), "%", ", peak " + level_text(report.peak)},
        };
        add_module_log(rows, log.problems());
        print(rows);
        return exit_success;
    }

  private:
    // The file that is played into need not be there yet.
    chosen_device choose_capture(const chosen_device& sink) const {
        const auto wav = wav_path_in(capture_, true);
        if (wav && sink.is_wav_file() &&
            wav_device(capture_variable, *wav).wav_path == sink.wav_path) {
            return wav_device(capture_variable, *wav);
        }
        if (wav || sink.is_wav_file()) {
            throw program_error(
                "a WAV file hears only what is played into it; give the same file to --playback "
                "and --capture, or no file to either",
                exit_usage);
        }
        return choose_source({capture_, ""});
    }

    std::string playback_ = "card";
    std::string capture_ = "card";
};

}  // namespace

std::unique_ptr<command> make_loop() {
    return std::make_unique<loop_command>();
}
