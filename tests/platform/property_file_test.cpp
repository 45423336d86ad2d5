// Setting properties: what the file is afterwards, also when several set at once or the disk is
// full.
#include <errno.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include "tests/platform/property_fixture.h"

namespace {

using PropertyFile = PropertyFixture;

TEST_F(PropertyFile, SettingChangesOneLineAndKeepsTheRest) {
    const struct {
        const char* name;
        std::string before, after;  // setting key=new
    } rows[] = {
        {"empty file", "", "key=new\n"},
        {"new key", "# note\n\nother=1\n", "# note\n\nother=1\nkey=new\n"},
        {"new key after a line without end", "other=1", "other=1\nkey=new\n"},
        {"in place", "a=1\nkey=old\n# note\nb=2\n", "a=1\nkey=new\n# note\nb=2\n"},
        {"the line that counts", "key=1\na=1\nkey=2\nb=2", "key=1\na=1\nkey=new\nb=2"},
        {"malformed lines are not ours", std::string("=x\na\0b=1\n\xff\n", 11),
         std::string("=x\na\0b=1\n\xff\nkey=new\n", 19)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write(row.before);
        EXPECT_EQ(property_set("key", "new"), 0);
        EXPECT_EQ(content(), row.after);
    }
}

TEST_F(PropertyFile, ValuesComeBackAsTheyWereSet) {
    const std::string key(500, 'k');
    for (const std::string& value :
         {std::string(" a = b # c \t"), std::string("\x01\xff"), std::string(91, 'v')}) {
        EXPECT_EQ(property_set(key.c_str(), value.c_str()), 0);
        EXPECT_EQ(get(key), value);
    }
    EXPECT_EQ(property_set(key.c_str(), nullptr), 0);
    EXPECT_EQ(get(key, "default"), "default");
}

TEST_F(PropertyFile, BadKeysAndValuesAreRefusedAndChangeNothing) {
    write("key=old\n");
    const std::string too_long(92, 'v');
    const char* const rows[][2] = {
        {nullptr, "v"},    {"", "v"},
        {"a b", "v"},      {"a=b", "v"},
        {"a\nb", "v"},     {"#a", "v"},
        {"\xc3\xa4", "v"}, {"key", "a\nb"},
        {"key", "a\r"},    {"key", too_long.c_str()},
    };
    for (const auto& [key, value] : rows) {
        SCOPED_TRACE(key != nullptr ? key : "null");
        log_.clear();
        EXPECT_EQ(property_set(key, value), -EINVAL);
        EXPECT_EQ(log_.lines().size(), 1u);
        EXPECT_EQ(property_override(key, value), -EINVAL);
    }
    EXPECT_EQ(content(), "key=old\n");
    EXPECT_EQ(property_set("aZ09._-@:", "v"), 0);
}

TEST_F(PropertyFile, ManyThreadsAndProcessesLoseNothing) {
    constexpr int kKeys = 20;
    const auto set_keys = [](int first, int* failures) {
        for (int i = first; i < first + kKeys; ++i) {
            const std::string key = "p" + std::to_string(i);
            *failures += property_set(key.c_str(), key.c_str()) != 0 || get(key) != key;
        }
    };
    std::vector<pid_t> children;
    for (int process = 0; process < 4; ++process) {
        children.push_back(start_process([&] {
            int failures[2] = {};
            std::thread other(set_keys, 2 * process * kKeys, &failures[0]);
            set_keys((2 * process + 1) * kKeys, &failures[1]);
            other.join();
            return failures[0] + failures[1];
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(exit_status(child), 0);
    }
    for (int i = 0; i < 8 * kKeys; ++i) {
        EXPECT_EQ(get("p" + std::to_string(i)), "p" + std::to_string(i));
    }
    EXPECT_FALSE(std::filesystem::exists(path_ + ".new"));
}

// Readers never see a file that is half written.
TEST_F(PropertyFile, ReadersSeeTheOldFileOrTheNewOne) {
    write("key=first\n" + std::string(200000, '#') + "\nfinal=stays\n");
    const pid_t setter = start_process([] {
        int failures = 0;
        for (int i = 0; i < 100; ++i) {
            failures += property_set("key", std::to_string(i).c_str()) != 0;
        }
        return failures;
    });
    int torn = 0;
    while (get("key") != "99" && waitpid(setter, nullptr, WNOHANG | WNOWAIT) == 0) {
        torn += get("final") != "stays";
    }
    EXPECT_EQ(exit_status(setter), 0);
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(get("key"), "99");  // at once
    unlink(path_.c_str());
    EXPECT_EQ(get("key", "gone"), "gone");
}

TEST_F(PropertyFile, AFullDiskLeavesTheOldFile) {
    write("key=old\n");
    const pid_t child = start_process([] {
        const struct rlimit limit = {12, 12};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
        return property_set("another.key", "value") == -EFBIG ? 0 : 1;
    });
    EXPECT_EQ(exit_status(child), 0);
    EXPECT_EQ(content(), "key=old\n");
    EXPECT_FALSE(std::filesystem::exists(path_ + ".new"));
}

TEST_F(PropertyFile, FoldersAreMadeAndAnImpossiblePathIsAnError) {
    setenv("CORVEX_PROPERTY_FILE", "a/b/properties", 1);
    EXPECT_EQ(property_set("key", "value"), 0);
    EXPECT_EQ(get("key"), "value");
    setenv("CORVEX_PROPERTY_FILE", "a/b/properties/below", 1);
    EXPECT_EQ(property_set("key", "value"), -ENOTDIR);
    EXPECT_EQ(log_.count_containing("a/b/properties/below"), 1);
}

TEST_F(PropertyFile, LinkAndPermissionsStayAndADeadSettersFileDoesNot) {
    const std::string target = scratch_.file("target");
    std::ofstream(target) << "key=old\n";
    std::ofstream(target + ".new") << "left behind";
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    ASSERT_EQ(symlink(target.c_str(), path_.c_str()), 0);
    EXPECT_EQ(property_set("key", "new"), 0);
    struct stat status;
    ASSERT_EQ(lstat(path_.c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(content(), "key=new\n");
}

}  // namespace
