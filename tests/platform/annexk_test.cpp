// The bounds-checked functions at their edges. Destinations have exactly the size they are said to
// have, with marked bytes around them.
#include <cstdarg>
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>

#include <annexk/annexk.h>

namespace {

constexpr char kMark = '\xA5';
constexpr size_t kMargin = 16;
constexpr size_t kHuge = SIZE_MAX - 3;  // what a negative number becomes

class marked_buffer {
  public:
    marked_buffer(size_t size, std::string content)
        : size_(size), bytes_(size + 2 * kMargin, kMark) {
        memcpy(data(), content.data(), content.size());
    }
    char* data() { return bytes_.data() + kMargin; }
    std::string content() { return std::string(data(), size_); }
    bool margins_are_whole() const {
        const std::string margin(kMargin, kMark);
        return bytes_.compare(0, kMargin, margin) == 0 &&
               bytes_.compare(kMargin + size_, kMargin, margin) == 0;
    }

  private:
    size_t size_;
    std::string bytes_;
};

struct memory_case {
    const char* name;
    size_t dest_size;  // as the function is told; the buffer has 4 bytes
    size_t count;
    int result;
    const char* after;
};
constexpr memory_case kMemoryCases[] = {
    {"nothing", 4, 0, 0, "abcd"},
    {"part", 4, 3, 0, "xyzd"},
    {"all", 4, 4, 0, "xyzw"},
    {"one too many", 4, 5, ERANGE, "abcd"},
    {"empty destination", 0, 1, ERANGE, "abcd"},
    {"nothing into an empty destination", 0, 0, 0, "abcd"},
    {"negative count", 4, kHuge, ERANGE, "abcd"},
    {"negative size", kHuge, 2, ERANGE, "abcd"},
};

TEST(MemoryFunctions, CopyWhatFitsAndNothingElse) {
    for (const auto function : {memcpy_s, memmove_s}) {
        for (const memory_case& row : kMemoryCases) {
            SCOPED_TRACE(row.name);
            marked_buffer dest(4, "abcd");
            const std::vector<char> source = {'x', 'y', 'z', 'w'};
            EXPECT_EQ(function(dest.data(), row.dest_size, source.data(), row.count), row.result);
            EXPECT_EQ(dest.content(), row.after);
            EXPECT_TRUE(dest.margins_are_whole());
        }
    }
}

TEST(MemoryFunctions, FillWhatFitsAndNothingElse) {
    for (const memory_case& row : kMemoryCases) {
        SCOPED_TRACE(row.name);
        marked_buffer dest(4, "abcd");
        EXPECT_EQ(memset_s(dest.data(), row.dest_size, 'x', row.count), row.result);
        const size_t filled = row.result == 0 ? row.count : 0;
        EXPECT_EQ(dest.content(), std::string(filled, 'x') + std::string("abcd").substr(filled));
        EXPECT_TRUE(dest.margins_are_whole());
    }
}

TEST(MemoryFunctions, OverlapIsForMemmoveOnly) {
    const struct {
        size_t to, from, count;
        int memcpy_result;
        const char* moved;
    } rows[] = {
        {0, 4, 4, 0, "efghefgh"},      {4, 0, 4, 0, "abcdabcd"},      {0, 3, 4, EINVAL, "defgefgh"},
        {3, 0, 4, EINVAL, "abcabcdh"}, {2, 2, 4, EINVAL, "abcdefgh"}, {2, 2, 0, 0, "abcdefgh"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.to * 100 + row.from * 10 + row.count);
        char copied[] = "abcdefgh";
        EXPECT_EQ(memcpy_s(copied + row.to, 8 - row.to, copied + row.from, row.count),
                  row.memcpy_result);
        EXPECT_STREQ(copied, row.memcpy_result == 0 ? row.moved : "abcdefgh");
        char moved[] = "abcdefgh";
        EXPECT_EQ(memmove_s(moved + row.to, 8 - row.to, moved + row.from, row.count), 0);
        EXPECT_STREQ(moved, row.moved);
    }
}

TEST(AllFunctions, RefuseNullPointersAndWriteNothing) {
    char text[4] = "abc";
    // Through variables: a compiler that sees the null would refuse the call.
    char* const none = nullptr;
    const char* const no_text = nullptr;
    EXPECT_EQ(memset_s(none, 4, 0, 1), EINVAL);
    EXPECT_EQ(memcpy_s(none, 4, text, 1), EINVAL);
    EXPECT_EQ(memcpy_s(text, 4, no_text, 1), EINVAL);
    EXPECT_EQ(memmove_s(none, 4, text, 1), EINVAL);
    EXPECT_EQ(memmove_s(text, 4, no_text, 1), EINVAL);
    EXPECT_EQ(strcat_s(none, 4, text), EINVAL);
    EXPECT_EQ(strcat_s(text, 4, no_text), EINVAL);
    EXPECT_EQ(sprintf_s(none, 4, "%d", 1), EINVAL);
    EXPECT_EQ(snprintf_s(none, 4, "%d", 1), EINVAL);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_EQ(sprintf_s(text, 4, no_text), EINVAL);
    EXPECT_EQ(snprintf_s(text, 4, no_text), EINVAL);
#pragma GCC diagnostic pop
    EXPECT_STREQ(text, "abc");
}

TEST(Strcat, AppendsOrLeavesTheDestinationAsItWas) {
    const std::string ab("ab\0", 3);
    const struct {
        const char* name;
        size_t buffer_size;
        std::string before;
        size_t dest_size;
        std::string source;
        int result;
        const char* after;
    } rows[] = {
        {"fits exactly", 6, ab, 6, "cde", 0, "abcde"},
        {"one too many", 6, ab, 6, "cdef", ERANGE, "ab"},
        {"nothing to append", 3, ab, 3, "", 0, "ab"},
        {"no room at all", 3, ab, 3, "c", ERANGE, "ab"},
        {"size zero", 3, ab, 0, "c", ERANGE, "ab"},
        {"negative size", 3, ab, kHuge, "c", ERANGE, "ab"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        marked_buffer dest(row.buffer_size, row.before);
        EXPECT_EQ(strcat_s(dest.data(), row.dest_size, row.source.c_str()), row.result);
        EXPECT_STREQ(dest.data(), row.after);
        EXPECT_TRUE(dest.margins_are_whole());
    }
}

TEST(Strcat, NeedsATerminatedDestination) {
    marked_buffer dest(4, "abcd");
    EXPECT_EQ(strcat_s(dest.data(), 4, "x"), EINVAL);
    EXPECT_EQ(dest.content(), "abcd");
    EXPECT_TRUE(dest.margins_are_whole());
}

TEST(Strcat, ReadsNoMoreOfTheSourceThanWouldFit) {
    char dest[4] = "a";
    const std::vector<char> unterminated = {'x', 'y', 'z'};  // a byte further is not ours to read
    EXPECT_EQ(strcat_s(dest, sizeof(dest), unterminated.data()), ERANGE);
    EXPECT_STREQ(dest, "a");
}

TEST(Strcat, RefusesASourceWithinTheDestination) {
    for (const size_t from : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE(from);
        char dest[16] = "abc";
        EXPECT_EQ(strcat_s(dest, sizeof(dest), dest + from), EINVAL);
        EXPECT_STREQ(dest, "abc");
    }
    // A neighbour that merely begins where the result ends is fine.
    char both[] = "ab\0\0cd";
    EXPECT_EQ(strcat_s(both, 4, "x"), 0);
    EXPECT_EQ(strcat_s(both + 3, 1, both + 3), EINVAL);
    EXPECT_STREQ(both, "abx");
    EXPECT_STREQ(both + 4, "cd");
}

TEST(Format, CutsAndTerminatesWhatDoesNotFit) {
    const struct {
        const char* name;
        size_t buffer_size;
        size_t dest_size;
        int result;
        std::string after;
    } rows[] = {
        {"fits exactly", 6, 6, 0, std::string("a-123\0", 6)},
        {"one too many", 5, 5, ERANGE, std::string("a-12\0", 5)},
        {"room for the zero only", 1, 1, ERANGE, std::string("\0", 1)},
        {"no room", 1, 0, ERANGE, "z"},
        {"negative size", 1, kHuge, ERANGE, "z"},
    };
    for (const auto function : {sprintf_s, snprintf_s}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            marked_buffer dest(row.buffer_size, "z");
            EXPECT_EQ(function(dest.data(), row.dest_size, "%s-%d", "a", 123), row.result);
            EXPECT_EQ(dest.content(), row.after);
            EXPECT_TRUE(dest.margins_are_whole());
        }
    }
}

TEST(Format, TextThatCannotBeConvertedGivesAnEmptyString) {
    const wchar_t unencodable[] = {static_cast<wchar_t>(0xD800), 0};  // no character in any locale
    for (const auto function : {sprintf_s, snprintf_s}) {
        char dest[8] = "before";
        EXPECT_EQ(function(dest, sizeof(dest), "cut%ls", unencodable), EINVAL);
        EXPECT_STREQ(dest, "");
    }
}

}  // namespace
