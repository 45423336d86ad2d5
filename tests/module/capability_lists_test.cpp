#include "hal/capability_lists.h"
#include "hal/parsed_parameters.h"
#include "tests/support/module_fixture.h"

namespace {

class CapabilityLists : public module_test {
  protected:
    using writer = int (*)(struct str_parms*, struct str_parms*, const uint32_t*);

    // The value that the writer adds for its key, or "(absent)".
    std::string value(writer write, const char* key, const std::vector<uint32_t>& list,
                      int* status) {
        const parsed_parameters query = parse_parameters("test", key);
        const parsed_parameters reply = parsed_parameters(str_parms_create());
        *status = write(query.get(), reply.get(), list.data());
        char text[256] = "(absent)";
        str_parms_get_str(reply.get(), key, text, sizeof(text));
        return text;
    }
};

}  // namespace

TEST_F(CapabilityLists, NameEveryChannelMaskOfTheTable) {
    const struct {
        uint32_t mask;
        const char* name;
    } rows[] = {
        {0x3, "AUDIO_CHANNEL_OUT_STEREO"},
        {0x3F, "AUDIO_CHANNEL_OUT_5POINT1"},
        {0x63F, "AUDIO_CHANNEL_OUT_7POINT1"},
        {0x10, "AUDIO_CHANNEL_IN_MONO"},
        {0xC, "AUDIO_CHANNEL_IN_STEREO"},
        {0x30, "AUDIO_CHANNEL_IN_FRONT_BACK"},
        {0x80000001, "AUDIO_CHANNEL_INDEX_MASK_1"},
        {0x80000003, "AUDIO_CHANNEL_INDEX_MASK_2"},
        {0x80000007, "AUDIO_CHANNEL_INDEX_MASK_3"},
        {0x8000000F, "AUDIO_CHANNEL_INDEX_MASK_4"},
        {0x8000001F, "AUDIO_CHANNEL_INDEX_MASK_5"},
        {0x8000003F, "AUDIO_CHANNEL_INDEX_MASK_6"},
        {0x8000007F, "AUDIO_CHANNEL_INDEX_MASK_7"},
        {0x800000FF, "AUDIO_CHANNEL_INDEX_MASK_8"},
        {0x1, ""},
        {0x80000002, ""},
    };
    for (const auto& row : rows) {
        int status = 0;
        log.clear();
        EXPECT_EQ(value(get_parameter_channels, "sup_channels", {row.mask, 0}, &status), row.name);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                            std::string("get_parameter_channels: supported format ") + row.name),
                  *row.name != '\0' ? 1 : 0);
    }
}

TEST_F(CapabilityLists, WriteListsOfEveryLength) {
    const struct {
        const char* name;
        writer write;
        const char* key;
        std::vector<uint32_t> list;
        std::string expected;
        int status;
    } rows[] = {
        {"two masks around an unnamed one",
         get_parameter_channels,
         "sup_channels",
         {0x10, 0x7, 0xC, 0},
         "AUDIO_CHANNEL_IN_MONO|AUDIO_CHANNEL_IN_STEREO",
         1},
        {"a name that does not fit is left out, its separator is not",
         get_parameter_channels,
         "sup_channels",
         {0x30, 0x80000001, 0x80000003, 0x10, 0x3, 0},
         "AUDIO_CHANNEL_IN_FRONT_BACK|AUDIO_CHANNEL_INDEX_MASK_1|AUDIO_CHANNEL_INDEX_MASK_2||",
         1},
        {"packed",
         get_parameter_formats,
         "sup_formats",
         {6, 0},
         "AUDIO_FORMAT_PCM_24_BIT_PACKED",
         1},
        {"no format", get_parameter_formats, "sup_formats", {0}, "", 1},
        {"three rates",
         get_parameter_rates,
         "sup_sampling_rates",
         {8000, 44100, 48000, 0},
         "8000|44100|48000",
         1},
        {"rates up to the last that fits",
         get_parameter_rates,
         "sup_sampling_rates",
         {1000000001, 1000000002, 1000000003, 1000000004, 1000000005, 1000000006, 1000000007,
          1000000008, 1000000009, 0},
         "1000000001|1000000002|1000000003|1000000004|1000000005|1000000006|1000000007|1000000008",
         1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        int status = -7;
        EXPECT_EQ(value(row.write, row.key, row.list, &status), row.expected);
        EXPECT_EQ(status, row.status);
    }
}

TEST_F(CapabilityLists, SayWhatTheyLeaveOut) {
    int status = 0;
    value(get_parameter_formats, "sup_formats", {5, 0}, &status);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal", "get_parameter_formats: unsupported format 0x5"),
        1);
    // 91 characters are used up after three names; the fourth does not fit, nor does anything
    // later.
    value(get_parameter_channels, "sup_channels",
          {0x80000001, 0x80000003, 0x80000007, 0x8000000F, 0x3, 0x3F, 0x63F, 0x10, 0xC, 0x30,
           0x8000001F, 0x8000003F, 0x8000007F, 0x800000FF, 0x3, 0},
          &status);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                        "get_parameter_channels: add format AUDIO_CHANNEL_INDEX_MASK_4 failed, "
                        "ret(0x22)"),
              1);
    EXPECT_GT(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                        "get_parameter_channels: add | failed, ret(0x22)"),
              0);
    EXPECT_EQ(status, 1);
}

TEST_F(CapabilityLists, AnswerOnlyTheirKey) {
    const uint32_t list[] = {48000, 0};
    for (const writer write :
         {get_parameter_channels, get_parameter_formats, get_parameter_rates}) {
        const parsed_parameters query = parse_parameters("test", "other=1;sup_=2");
        const parsed_parameters reply = parsed_parameters(str_parms_create());
        EXPECT_EQ(write(query.get(), reply.get(), list), 0);
        char* const text = str_parms_to_str(reply.get());
        EXPECT_STREQ(text, "");
        free(text);
    }
}
