#include "wav_request.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "pcm_format.h"
#include "pcm_handle.h"

namespace tinyalsa {

namespace {
constexpr char kPaceVariable[] = "CORVEX_WAV_PACE";
}

int read_wav_request(pcm& handle, const pcm_target& target, wav_request& request) {
    const char* pace = std::getenv(kPaceVariable);
    request.real_pace = pace != nullptr && std::strcmp(pace, "real") == 0;
    if (!request.real_pace && pace != nullptr && *pace != '\0' && std::strcmp(pace, "free") != 0) {
        return fail_open(handle, target, -EINVAL, "%s is \"%.40s\"; it must be real or free",
                         kPaceVariable, pace);
    }
    if (target.name.empty()) {
        return fail_open(handle, target, -EINVAL, "the path behind wav: is missing");
    }
    const sample_format& samples = *find_format(format_value(handle.config));
    if (!samples.fits_wav) {
        return fail_open(handle, target, -EINVAL,
                         "a WAV file holds S16_LE, S24_3LE or S32_LE samples, not %s",
                         samples.name);
    }
    request.layout = {handle.config.channels, handle.config.rate, samples.bytes};
    if (!fits_wav(request.layout)) {
        return fail_open(handle, target, -EINVAL,
                         "the frames are too large or too many a second for a WAV file");
    }
    handle.buffer_frames = handle.config.period_size * handle.config.period_count;
    return 0;
}

}  // namespace tinyalsa
