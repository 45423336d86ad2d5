// A program that unloads the library and loads it again goes on with the WAV file it started.

#include <dlfcn.h>

#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"

TEST(TinyalsaReload, AWavFileOutlivesTheLibrarysUnloading) {
    const scratch_dir scratch;
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    for (const size_t frames : {1u, 2u}) {
        void* library = dlopen(TINYALSA_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        pcm* const handle = reinterpret_cast<decltype(&pcm_open)>(dlsym(library, "pcm_open"))(
            0, 0, PCM_OUT, &kStereo);
        EXPECT_EQ(
            reinterpret_cast<decltype(&pcm_write)>(dlsym(library, "pcm_write"))(handle, "abcd", 4),
            0);
        EXPECT_EQ(reinterpret_cast<decltype(&pcm_close)>(dlsym(library, "pcm_close"))(handle), 0);
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_EQ(std::filesystem::file_size("a.wav"), 44 + 4 * frames);
    }
}
