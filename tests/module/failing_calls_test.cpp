// Every allocation and every bounds-checked fill failing in turn: the code, the line, nothing left
// behind (the leak checker of the sanitizer build sees to the rest).

#include <cerrno>
#include <functional>

#include "pcm/hpo.h"
#include "records/record_cast.h"
#include "tests/support/module_fixture.h"

namespace {

class FailingCalls : public module_test {};

}  // namespace

TEST_F(FailingCalls, StreamOpeningFailsAtEachAllocationAndLeavesNothing) {
    open_device();
    std::string expected[2];
    expected[0] = "adev_open_output_stream: malloc size(" + std::to_string(sizeof(hal_stream_out)) +
                  ") failed";
    expected[1] = "adev_open_output_stream: hpo_create failed (0xfffffff4)";
    int failing = 1;
    for (;; ++failing) {
        reset_faults();
        faults().failing_allocation = failing;
        log.clear();
        struct audio_stream_out* const stream = open_stream();
        if (stream != nullptr) {
            close_stream(stream);
            break;
        }
        ASSERT_LE(failing, 2);
        EXPECT_EQ(last_result, -ENOMEM);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", expected[failing - 1]), 1);
        EXPECT_EQ(
            log.count(ANDROID_LOG_ERROR, "audio_hal_hpo",
                      "hpo_create: calloc size(" + std::to_string(sizeof(struct hpo)) + ") failed"),
            failing == 2 ? 1 : 0);
        EXPECT_EQ(log.count_containing("return:out"), 0);
    }
    EXPECT_EQ(failing, 3);
    EXPECT_EQ(log.count_containing("hpo_create"), 0);
}

TEST_F(FailingCalls, BackEndCreationLeavesTheSlotAsItWas) {
    auto* const before = record_at<struct hpo>(this);
    struct hpo* slot = before;
    reset_faults();
    faults().failing_allocation = 1;
    EXPECT_EQ(hpo_create(&slot), -ENOMEM);
    EXPECT_EQ(slot, before);
}

TEST_F(FailingCalls, ParametersFailAtEachAllocationWithAText) {
    struct audio_stream_out* const out = open_stream(0, 48000, 3, 1);
    struct audio_stream_in* const in = open_input();
    const struct {
        const char* prefix;
        std::function<char*()> get;
        std::function<int()> set;
    } rows[] = {
        {"out_", [&] { return out->common.get_parameters(&out->common, "sup_channels"); },
         [&] { return out->common.set_parameters(&out->common, "routing=4"); }},
        {"in_", [&] { return in->common.get_parameters(&in->common, "sup_channels"); },
         [&] { return in->common.set_parameters(&in->common, "routing=4"); }},
        {"adev_", [&] { return dev->get_parameters(dev, "hw_av_sync"); }, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.prefix);
        for (const int failing : {1, 2, 3}) {
            reset_faults();
            faults().failing_allocation = failing;
            log.clear();
            char* const text = row.get();
            // Without the reply's text there is nothing to answer with, and no crash.
            EXPECT_STREQ(text, failing < 3 ? "" : nullptr);
            free(text);
            EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                                row.prefix + std::string("get_parameters: create param fail")),
                      failing < 3 ? 1 : 0);
        }
        EXPECT_EQ(log.count("adev_get_parameters: returns NULL"), row.set == nullptr ? 1 : 0);
        if (row.set != nullptr) {
            reset_faults();
            faults().failing_allocation = 1;
            log.clear();
            EXPECT_EQ(row.set(), -1);
            EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                                row.prefix + std::string("set_parameters: create param fail")),
                      1);
        }
    }
    reset_faults();
    close_stream(out);
    close_input(in);
}

TEST_F(FailingCalls, AFailingFillIsLoggedAndTheStreamWorks) {
    open_device();
    faults().memset_s_result = 22;
    struct audio_stream_out* const stream = open_stream(0, 48000, 3, 1);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                        "adev_open_output_stream: memset_s out failed, ret(0x16)"),
              1);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "hpo_create: memset_s hpo failed"), 1);
    EXPECT_EQ(stream->set_callback, nullptr);
    EXPECT_EQ(stream->write(stream, audio(period_bytes).data(), period_bytes),
              static_cast<ssize_t>(period_bytes));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "hpo_open: memset_s value failed"), 1);
    for (const char* key : {"sup_channels", "sup_formats", "sup_sampling_rates"}) {
        EXPECT_EQ(get_parameters(stream, key).rfind(std::string(key) + "=", 0), 0U);
    }
    EXPECT_EQ(get_parameters(stream, "sup_channels"), "sup_channels=AUDIO_CHANNEL_OUT_STEREO");
    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    close_stream(stream);
}
