#include "player_service/playback/ffmpeg_log.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstdarg>
#include <cstring>
#include <mutex>

#include "player_service/log.h"

namespace player_service {

namespace {

// A damaged stream can have a message for each frame; the count of those is told elsewhere.
void log_line(void* context, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_WARNING) {
        return;
    }
    char line[256];
    int is_start_of_line = 1;
    av_log_format_line2(context, level, format, arguments, line, sizeof line, &is_start_of_line);
    line[std::strcspn(line, "\n")] = '\0';
    LOGD("%s", line);
}

}  // namespace

void route_ffmpeg_log() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(log_line); });
}

}  // namespace player_service
