// corvex-hal tunnel and corvex-hal passthrough: a media file's sound through a direct output, which
// a player service decodes and plays.

#include <chrono>
#include <cstdio>

#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/commands/service_options.h"
#include "tools/commands/stream_summary.h"
#include "tools/direct/stream_pump.h"
#include "tools/module/av_sync.h"
#include "tools/service/player_service.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/progress.h"

namespace {

using std::chrono::steady_clock;

constexpr uint32_t max_data_offset = 4096;

const char* format_name(audio_format_t format) {
    switch (format) {
        case AUDIO_FORMAT_AC3:
            return "AC-3 as it is";
        case AUDIO_FORMAT_E_AC3:
            return "E-AC-3 as it is";
        default:
            return "16-bit PCM";
    }
}

// The module does not tell when the player refuses a rate, and the sound would then be too fast or
// too slow.
void check_rate(const stream_source& source) {
    constexpr uint32_t lowest_hz = 8000;
    constexpr uint32_t highest_hz = 192000;
    if (source.format() == AUDIO_FORMAT_PCM_16_BIT &&
        (source.rate_hz() < lowest_hz || source.rate_hz() > highest_hz)) {
        throw program_error("the file has " + std::to_string(source.rate_hz()) +
                            " Hz, and a player takes PCM of " + std::to_string(lowest_hz) + " to " +
                            std::to_string(highest_hz) + " Hz; convert it to such a rate");
    }
}

std::unique_ptr<hal_output_stream> open_stream(const hal_device& device,
                                               const stream_source& source, bool tunnel,
                                               const log_lines& log) {
    const auto flags = static_cast<audio_output_flags_t>(
        AUDIO_OUTPUT_FLAG_DIRECT |
        (tunnel ? AUDIO_OUTPUT_FLAG_HW_AV_SYNC : AUDIO_OUTPUT_FLAG_NONE));
    const stream_kind kind{source.rate_hz(), source.channel_mask(), source.format()};
    int status = 0;
    auto stream = hal_output_stream::open(device, kind, flags, status);
    if (stream == nullptr) {
        throw refused_stream("a direct stream", status, log);
    }
    stream->require_kind(kind);
    stream->buffer_frames(1);  // is one that can be
    return stream;
}

void check_seeks(const std::vector<stream_event>& events, const stream_source& source) {
    for (const stream_event& event : events) {
        if (event.kind == event_kind::seek && source.duration_s() &&
            event.value_s >= *source.duration_s()) {
            throw program_error(option_text(event) + " goes beyond the end; the file is " +
                                    seconds_text(*source.duration_s()) + " s long",
                                exit_usage);
        }
    }
}

class direct_stream_command : public command {
  public:
    explicit direct_stream_command(bool tunnel) : tunnel_(tunnel) {}

    void declare(CLI::App& app) override {
        app.add_option("FILE", file_, "Media file: anything with sound that FFmpeg reads")
            ->required();
        service_.declare(app, true);
        if (tunnel_) {
            app.add_option("--header-version", header_version_, "Version of the frames' headers")
                ->check(CLI::IsMember({1, 2}))
                ->capture_default_str();
            app.add_option("--data-offset", data_offset_,
                           "Bytes from a version 2 header to its payload, 20 to 4096; left\n"
                           "out: 48 for 6 and 8 channels, else 20");
        }
        app.add_option("--cut", cut_,
                       "Bytes of a write: N, N,N,... in turn, random or random:SEED;\n"
                       "left out: the stream's buffer size");
        app.add_flag("--decode", decode_, "Decode AC-3 and E-AC-3 to PCM as well");
        app.add_option("--pause-at", pauses_, "Pause after S seconds of sound, for DUR seconds (1)")
            ->type_name("S[:DUR]")
            ->expected(1)
            ->take_all();
        app.add_option("--flush-at", flushes_, "Drop what is queued after S seconds of sound")
            ->type_name("S")
            ->expected(1)
            ->take_all();
        app.add_option("--seek-at", seeks_,
                       "Drop what is queued after S seconds of sound and go on at TO\n"
                       "seconds of the file. All three may be repeated")
            ->type_name("S:TO")
            ->expected(1)
            ->take_all();
    }

    int run(const global_options& options, log_lines& log) override {
        show_media_messages(log.shown());
        stream_pump::settings how;
        how.events = parse_events(pauses_, flushes_, seeks_);
        // Says what is wrong with the text before anything is started.
        const cut_sizes checked(cut_, 1);
        check_data_offset();
        stream_source source(file_, decode_);
        check_rate(source);
        check_seeks(how.events, source);
        if (tunnel_) {
            how.framing = framing(source.channels());
        }
        const service_options::plan plan = service_.make_plan(file_);
        const auto written_before = plan.sink.time_written();

        interrupt_guard interrupt;
        const auto start = steady_clock::now();
        player_service service(plan.request);
        std::string destination = service.text();
        if (service.is_own()) {
            destination += ", " + plan.sink.text;
        }
        progress_line progress(!log.shown());
        pump_report report;
        std::vector<log_line> problems;
        std::string died;
        std::string how_text = format_name(source.format());
        {
            const hal_module module(options.module_path);
            const hal_device device(module, absent_player_service::wait);
            if (tunnel_) {
                how_text += ", AV-sync source " + std::to_string(query_av_sync(device, log)) +
                            ", header version " + std::to_string(how.framing->version) +
                            ", data offset " + std::to_string(how.framing->data_offset);
            }
            auto stream = open_stream(device, source, tunnel_, log);
            cut_sizes cuts(cut_, stream->buffer_bytes());
            how_text += ", writes of " + cuts.text();
            stream_pump pump(*stream, source, how, cuts, log, interrupt, progress);
            report = pump.run();
            died = service.ended();
            if (report.player_lost) {
                // What hangs would be waited for at every step of the way down.
                service.stop();
            }
            stream.reset();
            // Giving back the AV-sync source of a closed connection is refused at every close.
            problems = log.problems();
        }
        progress.clear();
        const std::string not_stopped = service.stop();
        const std::chrono::duration<double> took = steady_clock::now() - start;

        if (!died.empty()) {
            report.failure =
                "the player service ended on the way: " + died + "; see its log with --service-log";
        } else if (report.failure.empty() && !not_stopped.empty()) {
            report.failure = "the player service did not end well: " + not_stopped +
                             "; see its log with --service-log";
        }
        if (report.failure.empty() && !report.interrupted) {
            report.failure = compare_frames(report, source.damaged_packets());
        }
        if (report.failure.empty() && !report.interrupted && plan.sink.is_wav_file() &&
            plan.sink.time_written() == written_before) {
            report.failure = "the player service did not write '" + plan.sink.wav_path.string() +
                             "'; see its log with --service-log";
        }
        summary rows = {{outcome(report), sound_text(source)},
                        {"as", how_text},
                        {"to", destination + plan.sink.size_text()}};
        add_frames(rows, report, source.damaged_packets(), source.rate_hz());
        rows.push_back(took_row(took.count()));
        add_notes(rows, report, problems);
        print(rows);
        if (!report.failure.empty()) {
            std::fflush(stdout);
            throw program_error(report.failure);
        }
        return report.interrupted ? exit_interrupted : exit_success;
    }

  private:
    void check_data_offset() const {
        if (data_offset_ == 0) {
            return;
        }
        if (header_version_ == 1) {
            throw program_error("--data-offset is for header version 2; leave it out", exit_usage);
        }
        if (data_offset_ < avsync_v2_bytes || data_offset_ > max_data_offset) {
            throw program_error("--data-offset " + std::to_string(data_offset_) +
                                    " cannot be; give " + std::to_string(avsync_v2_bytes) + " to " +
                                    std::to_string(max_data_offset),
                                exit_usage);
        }
    }

    avsync_framing framing(unsigned channels) const {
        avsync_framing result = customary_framing(header_version_, channels);
        if (data_offset_ != 0) {
            result.data_offset = data_offset_;
        }
        return result;
    }

    const char* outcome(const pump_report& report) const {
        if (report.interrupted) {
            return "interrupted";
        }
        return !report.failure.empty() ? "failed" : tunnel_ ? "tunnelled" : "passed";
    }

    std::string sound_text(const stream_source& source) const {
        const auto frames =
            static_cast<uint64_t>(source.duration_s().value_or(0) * source.rate_hz());
        return file_ + " (" + source.coding_name() + "; " +
               rate_and_channels_text(source.rate_hz(), source.channels()) + ", " +
               (frames == 0 ? "of unknown length" : clock_text(frames, source.rate_hz())) + ")";
    }

    const bool tunnel_;
    service_options service_;
    std::string file_;
    unsigned header_version_ = 2;
    uint32_t data_offset_ = 0;  // 0: the customary one
    std::string cut_;
    bool decode_ = false;
    std::vector<std::string> pauses_;
    std::vector<std::string> flushes_;
    std::vector<std::string> seeks_;
};

}  // namespace

std::unique_ptr<command> make_tunnel() {
    return std::make_unique<direct_stream_command>(true);
}

std::unique_ptr<command> make_passthrough() {
    return std::make_unique<direct_stream_command>(false);
}
