// corvex-hal play: one audio file through the primary output, as the audio server's mixer would.

#include <chrono>

#include "host/environment.h"
#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/device/sink_device.h"
#include "tools/module/own_tinyalsa.h"
#include "tools/pcm/playback.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"
#include "tools/terminal/summary.h"

namespace {

using std::chrono::steady_clock;

constexpr uint32_t card_rate_hz = 48000;

std::unique_ptr<hal_output_stream> open_stream(const hal_device& device, unsigned channels,
                                               const log_lines& log) {
    stream_kind kind{card_rate_hz, audio_channel_out_mask_from_count(channels)};
    int status = 0;
    auto stream = hal_output_stream::open(device, kind, AUDIO_OUTPUT_FLAG_PRIMARY, status);
    if (stream == nullptr) {
        throw refused_stream("a primary output stream", status, log);
    }
    // The file is converted to any rate that the stream has.
    if (const uint32_t rate_hz = stream->sample_rate_hz(); rate_hz != 0) {
        kind.sample_rate_hz = rate_hz;
    }
    stream->require_kind(kind);
    return stream;
}

class play_command : public command {
  public:
    void declare(CLI::App& app) override {
        app.add_option("FILE", file_, "Audio file: anything that libsndfile reads")->required();
        app.add_option("-d,--device", device_,
                       "Where to play:\n"
                       "  auto      $CORVEX_ALSA_PLAYBACK if set, else card 0, else\n"
                       "            STEM.played.wav beside FILE (or here)\n"
                       "  card      card 0, device 0 (hw:0,0)\n"
                       "  X.wav     that WAV file, overwritten\n"
                       "  NAME      an ALSA PCM, such as default or plughw:1")
            ->capture_default_str();
        app.add_option("-c,--channels", channels_,
                       "Channels of the stream; the file is mixed to them")
            ->check(CLI::IsMember({1, 2, 6, 8}))
            ->capture_default_str();
    }

    int run(const global_options& options, log_lines& log) override {
        audio_file file(file_);
        const sink_device sink =
            choose_sink({device_, file_, environment_value(playback_variable)});
        sink.apply();
        const auto written_before = sink.time_written();

        // From here on every frame that was written shall be kept, whatever ends the run.
        interrupt_guard interrupt;
        const auto start = steady_clock::now();
        playback_report report;
        uint64_t clipped_samples = 0;
        uint64_t file_frames_read = 0;
        {
            const hal_module module(options.module_path);
            require_tinyalsa_for(module, sink);
            const hal_device device(module, absent_player_service::go_on);
            log.forget();
            const problems_until_device_closes quiet_close(log);
            const auto stream = open_stream(device, channels_, log);
            stream_rate_hz_ = stream->sample_rate_hz();
            pcm_source source(file, stream_rate_hz_, customary_layout(channels_));
            progress_line progress(!log.shown());
            // A file keeps every frame, so it gets no others.
            playback player(*stream, source, log, interrupt, progress, sink.is_wav_file());
            report = player.run();
            clipped_samples = source.clipped_samples();
            file_frames_read = source.file_frames_read();
        }
        const std::chrono::duration<double> took = steady_clock::now() - start;

        const bool file_missing = sink.is_wav_file() && report.frames_written > 0 &&
                                  sink.time_written() == written_before;
        if (report.failure.empty() && file_missing) {
            report.failure = "'" + sink.wav_path.string() +
                             "' was not written: this tinyalsa does not know " + playback_variable +
                             "; use --device card";
        }
        if (!report.failure.empty()) {
            throw program_error(report.failure);
        }
        summary rows = summarise(file, sink, report);
        rows.push_back(took_row(took.count()));
        if (!report.interrupted && file_frames_read < file.frames()) {
            add_note(rows, "the file ends early: it holds " + std::to_string(file_frames_read) +
                               " of " + std::to_string(file.frames()) + " frames");
        }
        if (report.position_losses > 0) {
            // The module knows no position while more is free than the buffer that it asked for.
            add_note(rows, "the position was lost " + std::to_string(report.position_losses) +
                               " times: the card may have run dry, or its buffer is larger than "
                               "the module's");
        }
        if (clipped_samples > 0) {
            add_note(rows, std::to_string(clipped_samples) +
                               " samples were beyond full scale and clipped");
        }
        add_module_log(rows, log.problems());
        print(rows);
        return report.interrupted ? exit_interrupted : exit_success;
    }

  private:
    summary summarise(const audio_file& file, const sink_device& sink,
                      const playback_report& report) const {
        summary rows = {{report.interrupted ? "interrupted" : "played",
                         file.path() + " (" + file.format_name() + "; " +
                             rate_and_channels_text(file.rate_hz(), file.channels()) + ", " +
                             clock_text(file.frames(), file.rate_hz()) + ")"}};
        if (file.rate_hz() != stream_rate_hz_ || file.layout() != customary_layout(channels_)) {
            rows.push_back(
                {"converted", "to " + rate_and_channels_text(stream_rate_hz_, channels_)});
        }
        rows.push_back({"to", sink.text + sink.size_text()});
        rows.push_back(frames_row("written", report.frames_written, stream_rate_hz_,
                                  " in " + std::to_string(report.writes) + " writes of " +
                                      std::to_string(report.write_bytes) + " bytes"));
        rows.push_back(report.presented_frames
                           ? count_row("presented", *report.presented_frames, "frames")
                           : summary_row{"presented", "unknown: the stream gives no position"});
        return rows;
    }

    std::string file_;
    std::string device_ = "auto";
    unsigned channels_ = 2;
    uint32_t stream_rate_hz_ = 0;
};

}  // namespace

std::unique_ptr<command> make_play() {
    return std::make_unique<play_command>();
}
