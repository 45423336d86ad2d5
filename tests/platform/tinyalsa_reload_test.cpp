// A program that unloads the library and loads it again goes on with the WAV file it started.

#include <dlfcn.h>

#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"
#include "tinyalsa_wav_reader.h"

namespace {

void play_through_a_loaded_library(const char* frame) {
    void* library = dlopen(TINYALSA_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto open = reinterpret_cast<decltype(&pcm_open)>(dlsym(library, "pcm_open"));
    const auto write = reinterpret_cast<decltype(&pcm_write)>(dlsym(library, "pcm_write"));
    const auto close = reinterpret_cast<decltype(&pcm_close)>(dlsym(library, "pcm_close"));
    ASSERT_TRUE(open != nullptr && write != nullptr && close != nullptr);
    const pcm_config config = stereo_config();
    pcm* handle = open(0, 0, PCM_OUT, &config);
    EXPECT_EQ(write(handle, frame, 4), 0);
    EXPECT_EQ(close(handle), 0);
    EXPECT_EQ(dlclose(library), 0);
}

TEST(TinyalsaReload, AWavFileOutlivesTheLibrarysUnloading) {
    const scratch_dir scratch;
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    play_through_a_loaded_library("abcd");
    play_through_a_loaded_library("efgh");
    EXPECT_EQ(read_wav("a.wav").samples, "abcdefgh");
}

}  // namespace
