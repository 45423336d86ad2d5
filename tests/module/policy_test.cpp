// integration/audio_policy_configuration.xml names what the built module can do, no less and no
// more.
//
// The module refuses nothing when an output is opened, so what counts is what happens then: a mixed
// output's sound has to reach the card as it was written, and a direct output's the player service,
// which has to take the format. The service here is the reference service, in this process.

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <tinyxml2.h>
#include <tuple>
#include <vector>

#include <binder/IServiceManager.h>
#include <hardware/audio.h>
#include <hardware/hardware.h>
#include <hardware/module_file.h>
#include <utils/String16.h>
#include <zuavplayer/IZuAvPlayerService.h>

#include "player_service/client.h"
#include "tests/player_service/wav_contents.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/test_audio.h"

namespace {

// The names of the platform's headers that begin so, with their values: no candidate is forgotten.
std::map<std::string, uint32_t> platform_names(const std::string& prefix) {
    std::map<std::string, uint32_t> all;
    const std::regex enumerator(R"(\b(AUDIO_\w+)\s*=\s*([^,}]+))");
    for (const char* header : {"audio-masks.h", "audio-base.h"}) {
        const std::string text = contents(std::string(CORVEX_SYSTEM_HEADERS "/") + header);
        for (std::sregex_iterator each(text.begin(), text.end(), enumerator), end; each != end;
             ++each) {
            uint32_t value = 0;  // a number, or names that went before, joined by "|"
            std::istringstream parts((*each)[2]);
            for (std::string part; parts >> part;) {
                const auto name = all.find(part);
                value |= name != all.end()
                             ? name->second
                             : static_cast<uint32_t>(strtoul(part.c_str(), nullptr, 0));
            }
            all[(*each)[1]] = value;
        }
    }
    std::map<std::string, uint32_t> found;
    std::copy_if(all.begin(), all.end(), std::inserter(found, found.end()),
                 [&](const auto& each) { return each.first.rfind(prefix, 0) == 0; });
    return found;
}

std::vector<std::string> split(const char* text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text != nullptr ? text : "");
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

uint32_t value_of(const std::string& name) {
    static const auto values = platform_names("AUDIO_");
    EXPECT_EQ(values.count(name), 1U) << "no such name: '" << name << "'";
    return values.count(name) != 0 ? values.at(name) : 0;
}

std::set<uint32_t> values_of(const char* names) {
    std::set<uint32_t> values;
    for (const std::string& name : split(names, ',')) {
        EXPECT_TRUE(values.insert(value_of(name)).second) << name << " twice";
    }
    return values;
}

struct profile {
    uint32_t format;
    std::set<uint32_t> rates;
    std::set<uint32_t> masks;
};

struct mix_port {
    std::string name;
    bool is_input;
    uint32_t flags;
    std::vector<profile> profiles;
    bool is_mixed() const { return !is_input && (flags & AUDIO_OUTPUT_FLAG_DIRECT) == 0; }
};

using element = tinyxml2::XMLElement;

template <typename Use>
void for_each(const element& of, const char* group, const char* name, Use use) {
    const element* const in = group != nullptr ? of.FirstChildElement(group) : &of;
    ASSERT_NE(in, nullptr) << "no <" << group << ">";
    const element* each = in->FirstChildElement(name);
    EXPECT_NE(each, nullptr) << "no <" << name << ">";
    for (; each != nullptr; each = each->NextSiblingElement(name)) {
        use(*each);
    }
}

std::string attribute(const element& of, const char* name) {
    const char* const value = of.Attribute(name);
    EXPECT_NE(value, nullptr) << name << " is missing in line " << of.GetLineNum();
    return value != nullptr ? value : "";
}

std::vector<mix_port> read_mix_ports(const element& module) {
    std::vector<mix_port> ports;
    for_each(module, "mixPorts", "mixPort", [&](const element& port) {
        mix_port read = {attribute(port, "name"), attribute(port, "role") == "sink", 0, {}};
        for (const std::string& flag : split(port.Attribute("flags"), '|')) {
            read.flags |= value_of(flag);
        }
        for_each(port, nullptr, "profile", [&](const element& each) {
            profile more = {
                value_of(attribute(each, "format")), {}, values_of(each.Attribute("channelMasks"))};
            for (const std::string& rate : split(each.Attribute("samplingRates"), ',')) {
                more.rates.insert(static_cast<uint32_t>(strtoul(rate.c_str(), nullptr, 10)));
            }
            EXPECT_TRUE(!more.rates.empty() && !more.masks.empty()) << read.name;
            read.profiles.push_back(more);
        });
        ports.push_back(read);
    });
    return ports;
}

// Channels and rate that the player was last set to, and what the reference player answers to that.
std::tuple<uint32_t, uint32_t, int32_t> decoder_set;

class judge : public player_service::client {
  public:
    using client::client;
    int32_t SetAdecAttr(uint32_t player, uint32_t type, uint16_t channels, uint32_t rate_hz,
                        int bits) override {
        const int32_t answer = client::SetAdecAttr(player, type, channels, rate_hz, bits);
        decoder_set = {channels, rate_hz, answer};
        return answer;
    }
};

class player_source : public android::BnZuAvPlayerService {
  public:
    android::sp<android::IZuAvPlayer> getPlayer() override {
        return new judge(std::make_shared<player_service::service_context>(
            player_service::output_target{}, false));
    }
};

class Policy : public testing::Test {
  protected:
    Policy() {
        setenv("CORVEX_BINDER_DIR", scratch.file("binder").c_str(), 1);
        setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
        setenv("CORVEX_PROPERTY_FILE", scratch.file("properties").c_str(), 1);
        setenv("CORVEX_ALSA_CAPTURE", "null", 1);
        unsetenv("CORVEX_WAV_PACE");
    }
    void SetUp() override {
        ASSERT_EQ(document.LoadFile(CORVEX_POLICY_FILE), tinyxml2::XML_SUCCESS)
            << document.ErrorStr();
        module = tinyxml2::XMLHandle(document)
                     .FirstChildElement("audioPolicyConfiguration")
                     .FirstChildElement("modules")
                     .FirstChildElement("module")
                     .ToElement();
        ASSERT_NE(module, nullptr);
    }
    ~Policy() override {
        if (device != nullptr) {
            audio_hw_device_close(device);
        }
    }

    void open_device() {
        ASSERT_EQ(android::defaultServiceManager()->addService(android::String16("zuavplayer"),
                                                               new player_source),
                  0);
        const struct hw_module_t* hal = nullptr;
        ASSERT_EQ(hw_load_module_file(CORVEX_MODULE_FILE, AUDIO_HARDWARE_MODULE_ID, &hal), 0)
            << hw_module_error();
        ASSERT_EQ(audio_hw_device_open(hal, &device), 0);
        free(device->get_parameters(device, "hw_av_sync"));
    }

    bool records(const struct audio_config& config) {
        struct audio_config copy = config;
        struct audio_stream_in* in = nullptr;
        log.clear();
        if (device->open_input_stream(device, 1, AUDIO_DEVICE_IN_BUILTIN_MIC, &copy, &in,
                                      AUDIO_INPUT_FLAG_NONE, "", AUDIO_SOURCE_MIC) != 0) {
            return false;
        }
        module_names[config.channel_mask] = channel_names(in->common);
        char data[64];
        const bool read = in->read(in, data, sizeof data) == sizeof data;
        device->close_input_stream(device, in);
        return read && log.count_containing("_open failed") == 0;
    }

    bool plays(uint32_t flags, const struct audio_config& config) {
        const std::string card = "card" + std::to_string(++cards) + ".wav";
        setenv("CORVEX_ALSA_PLAYBACK", ("wav:" + card).c_str(), 1);
        struct audio_config copy = config;
        struct audio_stream_out* out = nullptr;
        log.clear();
        decoder_set = {};
        if (device->open_output_stream(device, 1, AUDIO_DEVICE_OUT_SPEAKER,
                                       static_cast<audio_output_flags_t>(flags), &copy, &out,
                                       "") != 0) {
            return false;
        }
        module_names[config.channel_mask] = channel_names(out->common);
        const uint32_t channels = audio_channel_count_from_out_mask(config.channel_mask);
        const std::string data = audio(64 * channels);
        out->write(out, data.data(), data.size());
        out->common.standby(&out->common);
        device->close_output_stream(device, out);
        if (log.count_containing("_open failed") != 0) {
            return false;
        }
        if ((flags & AUDIO_OUTPUT_FLAG_DIRECT) != 0) {
            return decoder_set == std::make_tuple(channels, config.sample_rate, 0);
        }
        const wav_contents heard(card);
        return audio_bytes_per_sample(config.format) == sizeof(int16_t) &&
               heard.format.rate_hz == config.sample_rate && heard.format.channels == channels &&
               heard.samples.size() * sizeof(int16_t) == data.size() &&
               memcmp(heard.samples.data(), data.data(), data.size()) == 0;
    }

    // The module's answer to "sup_channels", without the key.
    static std::string channel_names(const struct audio_stream& stream) {
        char* const answer = stream.get_parameters(&stream, "sup_channels");
        const std::string text = answer;
        free(answer);
        return text.substr(text.find('=') + 1);
    }

    bool works(const mix_port& port, uint32_t format, uint32_t rate_hz, uint32_t mask) {
        struct audio_config config = {};
        config.format = static_cast<audio_format_t>(format);
        config.sample_rate = rate_hz;
        config.channel_mask = mask;
        return port.is_input ? records(config) : plays(port.flags, config);
    }

    scratch_dir scratch;
    log_recorder log;
    tinyxml2::XMLDocument document;
    const element* module = nullptr;
    struct audio_hw_device* device = nullptr;
    int cards = 0;
    std::map<uint32_t, std::string> module_names;  // of masks that were tried
};

bool is_linear(uint32_t format) {
    return audio_is_linear_pcm(static_cast<audio_format_t>(format));
}

uint32_t channels_of(const mix_port& port, uint32_t mask) {
    return port.is_input ? audio_channel_count_from_in_mask(mask)
                         : audio_channel_count_from_out_mask(mask);
}

// No more is known of a mask behind the module than its kind and how many channels it has.
bool has_like(const mix_port& port, const std::set<uint32_t>& masks, uint32_t wanted) {
    return std::any_of(masks.begin(), masks.end(), [&](uint32_t mask) {
        return mask >> 30 == wanted >> 30 && channels_of(port, mask) == channels_of(port, wanted);
    });
}

}  // namespace

TEST_F(Policy, EveryPortIsRoutedAndEveryRouteLeadsToPorts) {
    EXPECT_EQ(attribute(*document.RootElement(), "version"), "1.0");
    EXPECT_EQ(attribute(*module, "name"), "primary");
    EXPECT_EQ(attribute(*module, "halVersion"), "2.0");
    std::map<std::string, std::string> mixes;  // their roles
    std::map<std::string, std::string> devices;
    for_each(*module, "mixPorts", "mixPort", [&](const element& port) {
        mixes[attribute(port, "name")] = attribute(port, "role");
    });
    for_each(*module, "devicePorts", "devicePort", [&](const element& port) {
        const auto type = static_cast<audio_devices_t>(value_of(attribute(port, "type")));
        const bool is_sink = attribute(port, "role") == "sink";
        EXPECT_TRUE(is_sink ? audio_is_output_device(type) : audio_is_input_device(type));
        devices[attribute(port, "tagName")] = attribute(port, "role");
    });
    std::map<std::string, std::string> unrouted = mixes;
    unrouted.insert(devices.begin(), devices.end());
    for_each(*module, "routes", "route", [&](const element& route) {
        const std::string sink = attribute(route, "sink");
        auto& sinks = mixes.count(sink) != 0 ? mixes : devices;
        auto& sources = mixes.count(sink) != 0 ? devices : mixes;
        EXPECT_EQ(sinks[sink], "sink") << sink;
        unrouted.erase(sink);
        for (const std::string& source : split(route.Attribute("sources"), ',')) {
            EXPECT_EQ(sources[source], "source") << source;
            unrouted.erase(source);
        }
    });
    EXPECT_TRUE(unrouted.empty()) << unrouted.begin()->first;
    for_each(*module, "attachedDevices", "item", [&](const element& item) {
        EXPECT_EQ(devices.count(item.GetText()), 1U) << item.GetText();
    });
    for_each(*module, nullptr, "defaultOutputDevice",
             [&](const element& name) { EXPECT_EQ(devices[name.GetText()], "sink"); });
}

TEST_F(Policy, NamesAllThatTheModuleCanDoAndNothingElse) {
    open_device();
    const auto formats = platform_names("AUDIO_FORMAT_");
    const auto in_masks = platform_names("AUDIO_CHANNEL_IN");  // with those for indices
    auto out_masks = platform_names("AUDIO_CHANNEL_OUT_");
    out_masks.merge(platform_names("AUDIO_CHANNEL_INDEX_MASK_"));
    ASSERT_TRUE(formats.size() > 40 && in_masks.size() > 30 && out_masks.size() > 40);
    const std::vector<uint32_t> pcm_rates = {4000,  8000,   11025,  12000,  16000, 22050,
                                             24000, 32000,  44100,  48000,  64000, 88200,
                                             96000, 128000, 176400, 192000, 384000};
    // The decoder learns rate and channels of these from the stream, and there are no others.
    const std::vector<uint32_t> coded_rates = {32000, 44100, 48000};
    constexpr uint32_t decoded_channels = 8;

    std::multiset<uint32_t> kinds;
    for (const mix_port& port : read_mix_ports(*module)) {
        SCOPED_TRACE(port.name);
        kinds.insert(port.is_input ? ~0U : port.flags);
        std::set<uint32_t> named_formats;
        for (const auto& [format, rates, masks] : port.profiles) {
            SCOPED_TRACE(testing::Message() << std::hex << "format 0x" << format);
            EXPECT_TRUE(named_formats.insert(format).second) << "twice";
            for (const uint32_t rate : rates) {
                for (const uint32_t mask : masks) {
                    EXPECT_TRUE(works(port, format, rate, mask))
                        << "refused: " << rate << " Hz, mask 0x" << std::hex << mask;
                }
            }
            // The module looks at rate and mask each on its own.
            for (const uint32_t rate : is_linear(format) ? pcm_rates : coded_rates) {
                EXPECT_TRUE(rates.count(rate) != 0 || !works(port, format, rate, *masks.begin()))
                    << "left out: " << rate << " Hz";
            }
            if (port.is_mixed()) {
                // Any mask works that the card has, so the file has the module's own default.
                EXPECT_EQ(masks, std::set<uint32_t>{AUDIO_CHANNEL_OUT_STEREO});
                continue;
            }
            for (const auto& [name, mask] : port.is_input ? in_masks : out_masks) {
                if (channels_of(port, mask) <= decoded_channels &&
                    works(port, format, 48000, mask)) {
                    EXPECT_TRUE(has_like(port, masks, mask)) << "left out: " << name;
                    EXPECT_TRUE(masks.count(mask) != 0 || module_names[mask] != name)
                        << "left out, though the module itself answers " << name;
                }
            }
        }
        const uint32_t stereo = port.is_input ? AUDIO_CHANNEL_IN_STEREO : AUDIO_CHANNEL_OUT_STEREO;
        for (const auto& [name, format] : formats) {
            const bool is_candidate =
                format != AUDIO_FORMAT_DEFAULT && (!port.is_mixed() || is_linear(format));
            EXPECT_TRUE(!is_candidate || named_formats.count(format) != 0 ||
                        !works(port, format, 48000, stereo))
                << "left out: " << name;
        }
    }
    EXPECT_EQ(kinds, (std::multiset<uint32_t>{
                         AUDIO_OUTPUT_FLAG_DIRECT, AUDIO_OUTPUT_FLAG_PRIMARY,
                         AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC, ~0U}));
}
