// WAV files that cannot be opened, or that stop growing half way.

#include <cerrno>
#include <filesystem>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"
#include "tinyalsa_wav_reader.h"

namespace {

class TinyalsaWavFaults : public testing::Test {
  protected:
    scratch_dir scratch_;
};

// Files of this process end at that many bytes, as on a full disk.
class file_size_limit {
  public:
    explicit file_size_limit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = signal(SIGXFSZ, SIG_IGN);
    }
    ~file_size_limit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        signal(SIGXFSZ, handler_);
    }
    file_size_limit(const file_size_limit&) = delete;
    file_size_limit& operator=(const file_size_limit&) = delete;

  private:
    rlimit before_ = {};
    sighandler_t handler_ = SIG_DFL;
};

TEST_F(TinyalsaWavFaults, OpensThatCannotWorkSayWhy) {
    std::filesystem::create_directory("folder");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const struct {
        const char* name;
        std::string target;
        unsigned channels;
        pcm_format format;
        std::initializer_list<const char*> words;
    } rows[] = {
        {"no path", "wav:", 2, PCM_FORMAT_S16_LE, {"path", "missing"}},
        {"no folder", "wav:no/a.wav", 2, PCM_FORMAT_S16_LE, {"no/a.wav", "No such file"}},
        {"a folder", "wav:folder", 2, PCM_FORMAT_S16_LE, {"folder", "Is a directory"}},
        {"read-only file system", "wav:/proc/version", 2, PCM_FORMAT_S16_LE, {"/proc/version"}},
        {"a pipe", "wav:fifo", 2, PCM_FORMAT_S16_LE, {"cannot open fifo"}},
        {"no space", "wav:/dev/full", 2, PCM_FORMAT_S16_LE, {"/dev/full", "No space left"}},
        {"signed bytes", "wav:a.wav", 2, PCM_FORMAT_S8, {"S16_LE, S24_3LE or S32_LE", "not S8"}},
        {"loose 24 bits", "wav:a.wav", 2, PCM_FORMAT_S24_LE, {"not S24_LE"}},
        {"large frames", "wav:a.wav", 40000, PCM_FORMAT_S16_LE, {"too large"}},
        {"a long path", "wav:" + std::string(5000, 'x'), 2, PCM_FORMAT_S16_LE, {"File name too"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const scoped_env target("CORVEX_ALSA_PLAYBACK", row.target);
        pcm_config config = stereo_config();
        config.channels = row.channels;
        config.format = row.format;
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        EXPECT_EQ(pcm_is_ready(handle.get()), 0);
        expect_error(handle, row.words);
        expect_error(handle, {"CORVEX_ALSA_PLAYBACK", "48000 Hz"});
        EXPECT_EQ(pcm_write(handle.get(), "abcd", 4), -EBADFD);
        EXPECT_FALSE(std::filesystem::exists("a.wav")) << "a refused request touched the file";
    }
}

TEST_F(TinyalsaWavFaults, CaptureFromAFileIsRefused) {
    const scoped_env target("CORVEX_ALSA_CAPTURE", "wav:a.wav");
    const pcm_ptr handle = open_pcm(PCM_IN, stereo_config());
    EXPECT_EQ(pcm_is_ready(handle.get()), 0);
    expect_error(handle, {"a.wav", "only be played to"});
}

TEST_F(TinyalsaWavFaults, AnUnknownPaceIsRefusedBeforeTheFileIsTouched) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const scoped_env pace("CORVEX_WAV_PACE", "fast");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    expect_error(handle, {"CORVEX_WAV_PACE", "\"fast\"", "real or free"});
    EXPECT_FALSE(std::filesystem::exists("a.wav"));
}

TEST_F(TinyalsaWavFaults, ASecondWriterFindsTheFileBusy) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    const pcm_ptr first = open_pcm(PCM_OUT, stereo_config());
    ASSERT_EQ(pcm_write(first.get(), "abcdefgh", 8), 0);
    {
        const pcm_ptr second = open_pcm(PCM_OUT, stereo_config());
        EXPECT_EQ(pcm_is_ready(second.get()), 0);
        expect_error(second, {"a.wav", "another stream is writing"});
    }
    EXPECT_EQ(pcm_write(first.get(), "ijkl", 4), 0);
    EXPECT_EQ(read_wav("a.wav").samples, "abcdefghijkl");
}

TEST_F(TinyalsaWavFaults, AFullDiskKeepsTheWholeFramesAndAValidFile) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:a.wav");
    pcm_config config = stereo_config();
    config.channels = 1;
    config.format = PCM_FORMAT_S24_3LE;
    {
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
        {
            const file_size_limit limit(68 + 2);  // not one frame
            EXPECT_LT(pcm_write(handle.get(), "abcdef", 6), 0);
            EXPECT_EQ(read_wav("a.wav").samples, "");
        }
        ASSERT_EQ(pcm_write(handle.get(), "abcdef", 6), 0);
        {
            const file_size_limit limit(68 + 6 + 8);  // room for two frames and two bytes
            EXPECT_LT(pcm_write(handle.get(), "ghijklmnopqr", 12), 0);
            expect_error(handle, {"a.wav", "no more fits"});
            EXPECT_EQ(read_wav("a.wav").samples, "abcdefghijkl");
            EXPECT_LT(pcm_write(handle.get(), "mnopqrstu", 9), 0);
            EXPECT_EQ(read_wav("a.wav").samples, "abcdefghijkl");
        }
        EXPECT_EQ(pcm_write(handle.get(), "mno", 3), 0) << "goes on when there is room again";
        EXPECT_EQ(read_wav("a.wav").samples, "abcdefghijklmno");
    }
    const pcm_ptr handle = open_pcm(PCM_OUT, config);
    EXPECT_EQ(pcm_write(handle.get(), "pqr", 3), 0);
    EXPECT_EQ(read_wav("a.wav").samples, "abcdefghijklmnopqr");
}

TEST_F(TinyalsaWavFaults, FourGibibytesAreTheEnd) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:/dev/null");
    const pcm_ptr handle = open_pcm(PCM_OUT, stereo_config());
    ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
    const std::string block(16 << 20, '\0');
    const auto block_bytes = static_cast<unsigned>(block.size());
    for (int i = 0; i < 255; ++i) {
        ASSERT_EQ(pcm_write(handle.get(), block.data(), block_bytes), 0) << i;
    }
    EXPECT_EQ(pcm_write(handle.get(), block.data(), block_bytes), -EFBIG);
    expect_error(handle, {"no more fits"});
    EXPECT_EQ(pcm_write(handle.get(), block.data(), block_bytes - 1024), 0) << "nothing was lost";
}

}  // namespace
