#define LOG_TAG "nano"
#include <cstdlib>
#include <errno.h>
#include <limits.h>

#include <android/log.h>
#include <nano/nano.h>
#include <system/audio.h>

namespace {

constexpr char kRefuseVariable[] = "CORVEX_NANO_REFUSE_OPEN";

// The answer to give instead of 0; 0 when none is asked for.
int requested_refusal() {
    const char* text = std::getenv(kRefuseVariable);
    if (text == nullptr || *text == '\0') {
        return 0;
    }
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || value >= 0 || value < INT_MIN) {
        __android_log_print(ANDROID_LOG_WARN, LOG_TAG,
                            "%s='%s' ignored: give a negative number, such as -%d", kRefuseVariable,
                            text, ENODEV);
        return 0;
    }
    return static_cast<int>(value);
}

}  // namespace

void nano_init(void) {
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, "nano_init");
}

int nano_input_open(struct audio_stream_in* stream, const struct audio_config* config) {
    if (stream == nullptr || config == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "nano_input_open: no %s",
                            stream == nullptr ? "stream" : "configuration");
        return -EINVAL;
    }
    const int result = requested_refusal();
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG,
                        "nano_input_open stream %p rate %u mask %#x format %#x frames %u: %d",
                        static_cast<void*>(stream), config->sample_rate, config->channel_mask,
                        static_cast<unsigned>(config->format), config->frame_count, result);
    return result;
}

void nano_close(struct audio_stream_in* stream) {
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, "nano_close stream %p",
                        static_cast<void*>(stream));
}
