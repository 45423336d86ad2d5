// When the property file is read again, on file systems whose clock is coarse or shows nothing.
//
// This program's stat() and fstat() come before the C library's, and the properties library uses
// them too: they can change the times that a file has. Large files: as that library calls them.
#define _FILE_OFFSET_BITS 64

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/platform/property_fixture.h"

namespace {

enum class clock_kind {
    real,
    two_seconds,  // as FAT has
    stopped,      // long ago, for every file
};
std::atomic<clock_kind> shown_clock{clock_kind::real};
std::atomic<int> fstat_calls{0};

int with_shown_clock(int result, struct stat* status) {
    for (struct timespec* time : {&status->st_mtim, &status->st_ctim}) {
        if (result == 0 && shown_clock == clock_kind::two_seconds) {
            *time = {time->tv_sec - time->tv_sec % 2, 0};
        } else if (result == 0 && shown_clock == clock_kind::stopped) {
            *time = {1000000000, 0};
        }
    }
    return result;
}

class PropertyClock : public PropertyFixture {
  protected:
    void TearDown() override {
        shown_clock = clock_kind::real;
        PropertyFixture::TearDown();
    }

    void replace_file(const std::string& text) const {
        std::ofstream("staged") << text;
        std::filesystem::rename("staged", path_);
    }
    void edit_in_place(const std::string& text) const {
        const int fd = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(pwrite(fd, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        close(fd);
    }
};

TEST_F(PropertyClock, ChangesOfTheSameSizeWithinATickAreSeen) {
    for (const clock_kind kind : {clock_kind::real, clock_kind::two_seconds}) {
        shown_clock = kind;
        for (int i = 100; i < 300; ++i) {
            const std::string value = std::to_string(i);
            replace_file("key=" + value + "\n");
            ASSERT_EQ(get("key"), value);
        }
        for (int i = 500; i < 700; ++i) {
            const std::string value = std::to_string(i);
            ASSERT_NO_FATAL_FAILURE(edit_in_place("key=" + value + "\n"));
            ASSERT_EQ(get("key"), value);
        }
    }
}

TEST_F(PropertyClock, AnotherFileInItsPlaceIsSeenByItsNumberOrSize) {
    shown_clock = clock_kind::stopped;
    replace_file("key=old\n");
    EXPECT_EQ(get("key"), "old");
    std::filesystem::create_hard_link(path_, "kept");  // so that its number is not given away
    replace_file("key=new\n");
    EXPECT_EQ(get("key"), "new");
    ASSERT_NO_FATAL_FAILURE(edit_in_place("key=longer\n"));
    EXPECT_EQ(get("key"), "longer");
}

TEST_F(PropertyClock, AnUnchangedOldFileIsNotReadAgain) {
    shown_clock = clock_kind::stopped;
    replace_file("key=value\n");
    EXPECT_EQ(get("key"), "value");
    const int before = fstat_calls;
    EXPECT_EQ(get("key"), "value");
    EXPECT_EQ(get("other"), "");
    EXPECT_EQ(fstat_calls, before);  // a file that is read is asked for its state once
    shown_clock = clock_kind::real;
    EXPECT_EQ(get("key"), "value");
    EXPECT_EQ(fstat_calls, before + 1);
}

}  // namespace

extern "C" int stat(const char* path, struct stat* status) noexcept {
    return with_shown_clock(fstatat(AT_FDCWD, path, status, 0), status);
}

extern "C" int fstat(int fd, struct stat* status) noexcept {
    ++fstat_calls;
    return with_shown_clock(fstatat(fd, "", status, AT_EMPTY_PATH), status);
}
