// The bounds-checked functions at their edges. Each call gets a destination of 4 bytes with marked
// ones behind it.
#include <errno.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <annexk/annexk.h>

namespace {

constexpr size_t kHuge = SIZE_MAX - 3;  // what a negative number becomes

// What `call` leaves of the 4 bytes `before`, behind its result.
template <typename Call>
std::string outcome(std::string before, Call call) {
    before += "||||||||";
    const int result = call(before.data());
    EXPECT_EQ(before.substr(4), "||||||||");
    return (result == 0 ? "0 " : result == ERANGE ? "ERANGE " : "EINVAL ") + before.substr(0, 4);
}

TEST(AnnexK, MemoryFunctionsWriteWhatFitsAndNothingElse) {
    const struct {
        size_t dest_size, count;  // as the function is told
        const char *copied, *filled;
    } rows[] = {
        {4, 0, "0 abcd", "0 abcd"},
        {4, 3, "0 xyzd", "0 xxxd"},
        {4, 4, "0 xyzw", "0 xxxx"},
        {4, 5, "ERANGE abcd", "ERANGE abcd"},
        {0, 1, "ERANGE abcd", "ERANGE abcd"},
        {4, kHuge, "ERANGE abcd", "ERANGE abcd"},
        {kHuge, 2, "ERANGE abcd", "ERANGE abcd"},
    };
    for (const auto& row : rows) {
        for (const auto copy : {memcpy_s, memmove_s}) {
            EXPECT_EQ(row.copied, outcome("abcd", [&](char* to) {
                          return copy(to, row.dest_size, "xyzw", row.count);
                      }));
        }
        EXPECT_EQ(row.filled, outcome("abcd", [&](char* to) {
                      return memset_s(to, row.dest_size, 'x', row.count);
                  }));
    }
}

TEST(AnnexK, OverlapIsForMemmoveOnly) {
    const struct {
        size_t to, from, count;
        const char *copied, *moved;
    } rows[] = {
        {0, 2, 2, "0 cdcd", "0 cdcd"},      {2, 0, 2, "0 abab", "0 abab"},
        {0, 1, 3, "EINVAL abcd", "0 bcdd"}, {1, 0, 3, "EINVAL abcd", "0 aabc"},
        {2, 2, 1, "EINVAL abcd", "0 abcd"}, {2, 2, 0, "0 abcd", "0 abcd"},
    };
    for (const auto& row : rows) {
        for (const auto copy : {memcpy_s, memmove_s}) {
            EXPECT_EQ(copy == memcpy_s ? row.copied : row.moved, outcome("abcd", [&](char* text) {
                          return copy(text + row.to, 4 - row.to, text + row.from, row.count);
                      }));
        }
    }
}

TEST(AnnexK, NullPointersAreRefused) {
    char text[4] = "abc";
    // Through variables: a compiler that sees the null would refuse the call.
    char* const none = nullptr;
    const char* const no_text = nullptr;
    for (const int result :
         {memset_s(none, 4, 0, 1), memcpy_s(none, 4, text, 1), memcpy_s(text, 4, no_text, 1),
          memmove_s(none, 4, text, 1), memmove_s(text, 4, no_text, 1), strcat_s(none, 4, text),
          strcat_s(text, 4, no_text), sprintf_s(none, 4, "%d", 1), snprintf_s(none, 4, "%d", 1)}) {
        EXPECT_EQ(result, EINVAL);
    }
    EXPECT_STREQ(text, "abc");
}

TEST(AnnexK, StrcatAppendsOrLeavesTheDestinationAsItWas) {
    const std::string a("a\0--", 4);
    const std::vector<char> unterminated = {'c', 'd', 'e'};  // a byte further is not ours to read
    const struct {
        size_t dest_size;
        std::string before;
        const char* source;
        std::string after;
    } rows[] = {
        {4, a, "cd", std::string("0 acd\0", 6)},
        {4, a, unterminated.data(), "ERANGE " + a},
        {2, a, "c", "ERANGE " + a},
        {0, a, "c", "ERANGE " + a},
        {kHuge, a, "c", "ERANGE " + a},
        {4, "abcd", "x", "EINVAL abcd"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.after, outcome(row.before, [&](char* to) {
                      return strcat_s(to, row.dest_size, row.source);
                  }));
    }
    for (const size_t from : {0u, 1u}) {
        EXPECT_EQ("EINVAL " + a, outcome(a, [&](char* to) { return strcat_s(to, 4, to + from); }));
    }
}

TEST(AnnexK, FormattingCutsAndTerminatesWhatDoesNotFit) {
    const struct {
        size_t dest_size;
        const char* text;
        std::string after;
    } rows[] = {
        {4, "abc", std::string("0 abc\0", 6)},
        {4, "abcd", std::string("ERANGE abc\0", 11)},
        {1, "abc", std::string("ERANGE \0zzz", 11)},
        {0, "abc", "ERANGE zzzz"},
        {kHuge, "abc", "ERANGE zzzz"},
    };
    for (const auto format : {sprintf_s, snprintf_s}) {
        for (const auto& row : rows) {
            EXPECT_EQ(row.after, outcome("zzzz", [&](char* to) {
                          return format(to, row.dest_size, "%s", row.text);
                      }));
        }
    }
}

}  // namespace
