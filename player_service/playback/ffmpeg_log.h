// FFmpeg's messages as lines of this program's log.
#pragma once

namespace player_service {

// Any thread, any number of times.
void route_ffmpeg_log();

}  // namespace player_service
