#include <cerrno>
#include <set>

#include "tests/support/module_fixture.h"

namespace {

class OutParameters : public module_test {
  protected:
    // The pairs of a reply: their order is not ours.
    static std::set<std::string> pairs(const std::string& text) {
        std::set<std::string> result;
        size_t start = 0;
        while (start < text.size()) {
            const size_t end = std::min(text.find(';', start), text.size());
            result.insert(text.substr(start, end - start));
            start = end + 1;
        }
        return result;
    }
};

}  // namespace

TEST_F(OutParameters, AnswerCapabilityQueries) {
    const struct {
        const char* name;
        uint32_t rate, mask, format;
        const char* keys;
        const char* expected;  // in any order
    } rows[] = {
        {"all three", 48000, 3, 1, "sup_channels;sup_formats;sup_sampling_rates",
         "sup_channels=AUDIO_CHANNEL_OUT_STEREO;sup_formats=AUDIO_FORMAT_PCM_16_BIT;sup_sampling_"
         "rates=48000"},
        {"with values in the query", 48000, 3, 1, "sup_formats=x",
         "sup_formats=AUDIO_FORMAT_PCM_16_BIT"},
        {"no mask requested", 0, 0, 0, "sup_channels", "sup_channels="},
        {"no rate requested", 0, 0, 0, "sup_sampling_rates", ""},
        {"the last key decides", 0, 3, 1, "sup_sampling_rates;sup_channels", ""},
        {"an unnamed format", 48000, 3, 5, "sup_formats", "sup_formats="},
        {"a later key saves an earlier", 48000, 3, 5, "sup_channels;sup_formats",
         "sup_channels=AUDIO_CHANNEL_OUT_STEREO;sup_formats="},
        {"other keys", 48000, 3, 1, "routing;sampling_rate", ""},
        {"no keys", 48000, 3, 1, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        struct audio_stream_out* const stream = open_stream(0, row.rate, row.mask, row.format);
        log.clear();
        const std::string text = get_parameters(stream, row.keys);
        EXPECT_EQ(pairs(text), pairs(row.expected));
        EXPECT_EQ(log.lines().front(),
                  (log_line{ANDROID_LOG_VERBOSE, "audio_hal",
                            std::string("out_get_parameters() enter: keys=") + row.keys}));
        EXPECT_EQ(log.lines().back(), (log_line{ANDROID_LOG_DEBUG, "audio_hal",
                                                "out_get_parameters() exit: returns=" + text}));
        close_stream(stream);
    }
}

TEST_F(OutParameters, SettingChangesNothing) {
    struct audio_stream_out* const stream = open_stream(0, 48000, 3, 1);
    struct audio_stream* const common = &stream->common;
    log.clear();
    EXPECT_EQ(common->set_parameters(common, "sampling_rate=44100;routing=2"), 0);
    EXPECT_EQ(log.lines(),
              (std::vector<log_line>{
                  {ANDROID_LOG_DEBUG, "audio_hal",
                   "out_set_parameters kvpairs = sampling_rate=44100;routing=2"},
                  {ANDROID_LOG_DEBUG, "audio_hal",
                   "out_set_parameters: AUDIO_PARAMETER_STREAM_SAMPLING_RATE=44100"}}));
    EXPECT_EQ(common->get_sample_rate(common), 48000U);
    log.clear();
    EXPECT_EQ(common->set_parameters(common, "routing=2"), 0);
    EXPECT_EQ(log.lines().size(), 1U);
    // Longer than the buffer for it.
    EXPECT_EQ(common->set_parameters(common, ("sampling_rate=" + std::string(100, '9')).c_str()),
              0);
    close_stream(stream);
}

TEST_F(OutParameters, SettersChangeWhatGettersReport) {
    struct audio_stream_out* const stream = open_stream(0, 44100, 0x3F, 1);
    struct audio_stream* const common = &stream->common;
    log.clear();
    EXPECT_EQ(common->get_sample_rate(common), 44100U);
    EXPECT_EQ(common->set_sample_rate(common, 32000), 0);
    EXPECT_EQ(common->get_sample_rate(common), 32000U);
    EXPECT_EQ(common->get_channels(common), 0x3FU);
    EXPECT_EQ(common->get_format(common), AUDIO_FORMAT_PCM_16_BIT);
    EXPECT_EQ(common->set_format(common, AUDIO_FORMAT_PCM_FLOAT), 0);
    EXPECT_EQ(common->get_format(common), AUDIO_FORMAT_PCM_FLOAT);
    EXPECT_EQ(to_hal_stream_out(stream)->config.rate, 48000U);
    EXPECT_EQ(log.lines(), (std::vector<log_line>{
                               {ANDROID_LOG_VERBOSE, "audio_hal", "out_get_sample_rate: 44100"},
                               {ANDROID_LOG_VERBOSE, "audio_hal", "out_set_sample_rate: 32000"},
                               {ANDROID_LOG_VERBOSE, "audio_hal", "out_get_sample_rate: 32000"},
                               {ANDROID_LOG_DEBUG, "audio_hal", "out_get_channels: 3f"},
                               {ANDROID_LOG_DEBUG, "audio_hal", "out_get_format: 1"},
                               {ANDROID_LOG_DEBUG, "audio_hal", "out_set_format: 5"},
                               {ANDROID_LOG_DEBUG, "audio_hal", "out_get_format: 5"}}));
    close_stream(stream);
}
