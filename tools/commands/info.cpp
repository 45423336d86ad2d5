// corvex-hal info: what the module says about itself, its device, and the streams it opens.

#include <cinttypes>
#include <cstdio>

#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/module/absent_operations.h"
#include "tools/module/hal_module.h"
#include "tools/module/hal_stream.h"
#include "tools/terminal/log_lines.h"
#include "tools/terminal/number_text.h"

namespace {

constexpr char absent[] = "absent";

struct output_row {
    const char* name;
    stream_kind kind;
    audio_output_flags_t flags;
};

output_row pcm_row(const char* name, audio_channel_mask_t mask) {
    return {name, {48000, mask}, AUDIO_OUTPUT_FLAG_PRIMARY};
}

output_row direct_row(const char* name, audio_format_t format, unsigned extra_flags) {
    const auto flags = static_cast<audio_output_flags_t>(AUDIO_OUTPUT_FLAG_DIRECT | extra_flags);
    return {name, {48000, AUDIO_CHANNEL_OUT_STEREO, format}, flags};
}

std::vector<output_row> output_rows() {
    return {
        pcm_row("primary mono", AUDIO_CHANNEL_OUT_MONO),
        pcm_row("primary stereo", AUDIO_CHANNEL_OUT_STEREO),
        pcm_row("primary 5.1", AUDIO_CHANNEL_OUT_5POINT1),
        pcm_row("primary 7.1", AUDIO_CHANNEL_OUT_7POINT1),
        direct_row("direct AC-3", AUDIO_FORMAT_AC3, 0),
        direct_row("direct E-AC-3", AUDIO_FORMAT_E_AC3, 0),
        direct_row("direct PCM", AUDIO_FORMAT_PCM_16_BIT, 0),
        direct_row("tunnel", AUDIO_FORMAT_PCM_16_BIT, AUDIO_OUTPUT_FLAG_HW_AV_SYNC),
    };
}

void print_row(const char* name, const std::string& value) {
    std::printf("  %-16s %s\n", name, value.c_str());
}

std::string text_or_none(const char* text) {
    return text == nullptr ? "(none)" : text;
}

std::string version_text(unsigned version) {
    char text[32];
    std::snprintf(text, sizeof(text), "%u.%u (0x%04x)", version >> 8, version & 0xFF, version);
    return text;
}

std::string tag_text(uint32_t tag, uint32_t expected) {
    char text[48];
    std::snprintf(text, sizeof(text), "0x%08" PRIx32 "%s", tag,
                  tag == expected ? "" : " (WRONG: not the published tag)");
    return text;
}

void print_descriptor(const hal_module& module) {
    const hw_module_t& descriptor = module.descriptor();
    std::printf("module\n");
    print_row("file", module.path());
    print_row("id", text_or_none(descriptor.id));
    print_row("name", text_or_none(descriptor.name));
    print_row("author", text_or_none(descriptor.author));
    print_row("tag", tag_text(descriptor.tag, HARDWARE_MODULE_TAG));
    print_row("module API", version_text(descriptor.module_api_version));
    print_row("HAL API", version_text(descriptor.hal_api_version));
}

std::string float_text(float value) {
    return decimal_text(static_cast<double>(value), 3);
}

std::string bool_text(bool value) {
    return value ? "on" : "off";
}

// What a getter stores through its pointer, as text.
template <typename Device, typename Value>
std::string answer(int (*getter)(Device*, Value*), Device* device, std::string (*text)(Value)) {
    if (getter == nullptr) {
        return absent;
    }
    Value value{};
    const int status = getter(device, &value);
    return status == 0 ? text(value) : "refused: " + status_text(status);
}

// A list of names, folded to lines that fit a terminal.
void print_names(const std::vector<std::string>& names) {
    constexpr size_t line_length = 96;
    std::string line = " ";
    for (const std::string& name : names) {
        if (line.size() + name.size() > line_length) {
            std::printf("%s\n", line.c_str());
            line = " ";
        }
        line += " " + name;
    }
    std::printf("%s\n", line.c_str());
}

void print_device(const audio_hw_device& table) {
    std::printf("device\n");
    print_row("tag", tag_text(table.common.tag, HARDWARE_DEVICE_TAG));
    print_row("version", version_text(table.common.version));
    print_row("init check", table.init_check ? status_text(table.init_check(&table)) : absent);

    // The getters of the published table take a device that is not const.
    auto& device = const_cast<audio_hw_device&>(table);
    print_row("master volume", answer(table.get_master_volume, &device, float_text));
    print_row("master mute", answer(table.get_master_mute, &device, bool_text));
    print_row("microphone mute", answer(table.get_mic_mute, &table, bool_text));
    audio_config config{};
    config.sample_rate = 48000;
    config.channel_mask = AUDIO_CHANNEL_IN_STEREO;
    config.format = AUDIO_FORMAT_PCM_16_BIT;
    print_row("input buffer",
              table.get_input_buffer_size
                  ? std::to_string(table.get_input_buffer_size(&table, &config)) + " bytes"
                  : absent);
    const std::vector<std::string> names = absent_operations(table);
    if (!names.empty()) {
        std::printf("operations absent from the device\n");
        print_names(names);
    }
}

// The stream's answer to one capability query, without the key and the prefix that all names share.
std::string capability(const hal_output_stream& stream, const std::string& key) {
    std::string value = stream.parameters(key.c_str());
    for (const std::string& prefix :
         {key + "=", std::string("AUDIO_"), std::string("CHANNEL_"), std::string("FORMAT_")}) {
        if (value.compare(0, prefix.size(), prefix) == 0) {
            value.erase(0, prefix.size());
        }
    }
    return value.empty() ? "-" : value;
}

// One line of the table, and the operations that the stream lacks.
std::vector<std::string> print_output(const hal_device& device, const output_row& row) {
    int status = 0;
    const auto stream = hal_output_stream::open(device, row.kind, row.flags, status);
    if (stream == nullptr) {
        print_row(row.name, "refused: " + status_text(status));
        return {};
    }
    char text[256];
    std::snprintf(
        text, sizeof(text), "%6" PRIu32 " %#7" PRIx32 " %#10x %6zu %5" PRIu32 " ms  %-14s %-12s %s",
        stream->sample_rate_hz(), stream->channel_mask(), static_cast<unsigned>(stream->format()),
        stream->buffer_bytes(), stream->latency_ms(), capability(*stream, "sup_channels").c_str(),
        capability(*stream, "sup_formats").c_str(),
        capability(*stream, "sup_sampling_rates").c_str());
    print_row(row.name, text);
    return absent_operations(stream->table());
}

void print_outputs(const hal_device& device) {
    std::printf("output streams\n");
    print_row("",
              "    Hz    mask     format buffer  latency  sup_channels   sup_formats  "
              "sup_sampling_rates");
    // Streams of a kind lack the same operations: said once for each kind.
    std::vector<std::pair<std::string, std::vector<std::string>>> lacking;
    for (const output_row& row : output_rows()) {
        std::vector<std::string> names = print_output(device, row);
        if (!names.empty() && (lacking.empty() || lacking.back().second != names)) {
            lacking.emplace_back(row.name, std::move(names));
        }
    }
    for (const auto& [name, names] : lacking) {
        std::printf("operations absent from output streams (%s and those below)\n", name.c_str());
        print_names(names);
    }
}

void print_input(const hal_device& device, const char* name, const stream_kind& kind) {
    int status = 0;
    const auto stream = hal_input_stream::open(device, kind, status);
    if (stream == nullptr) {
        print_row(name, "refused: " + status_text(status));
        return;
    }
    char text[96];
    std::snprintf(text, sizeof(text), "accepted: %" PRIu32 " Hz, buffer %zu bytes",
                  stream->sample_rate_hz(), stream->buffer_bytes());
    print_row(name, text);
}

class info_command : public command {
  public:
    void declare(CLI::App&) override {}

    int run(const global_options& options, log_lines& log) override {
        const hal_module module(options.module_path);
        print_descriptor(module);
        {
            const hal_device device(module, absent_player_service::go_on);
            print_device(device.table());
            print_outputs(device);
            std::printf("input streams\n");
            print_input(device, "stereo 48000", {48000, AUDIO_CHANNEL_IN_STEREO});
            print_input(device, "mono 16000", {16000, AUDIO_CHANNEL_IN_MONO});
        }
        const std::vector<log_line> problems = log.problems();
        if (!problems.empty()) {
            std::printf("module log\n");
        }
        for (const log_line& line : problems) {
            std::printf("  %s\n", to_text(line).c_str());
        }
        return exit_success;
    }
};

}  // namespace

std::unique_ptr<command> make_info() {
    return std::make_unique<info_command>();
}
