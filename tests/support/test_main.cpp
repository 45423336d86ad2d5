// Runs the tests of a program one after the other in one process, in whatever order.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <unistd.h>

namespace {

using variables = std::map<std::string, std::string>;

variables environment() {
    variables all;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string text = *each;
        const size_t equals = text.find('=');
        all[text.substr(0, equals)] = text.substr(equals + 1);
    }
    return all;
}

// What a test sets in the environment ends with the test.
class process_keeper : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo& /*test*/) override {
        const variables now = environment();
        for (const auto& [name, value] : now) {
            if (at_start_.count(name) == 0) {
                unsetenv(name.c_str());
            }
        }
        for (const auto& [name, value] : at_start_) {
            if (const auto found = now.find(name); found == now.end() || found->second != value) {
                setenv(name.c_str(), value.c_str(), 1);
            }
        }
        EXPECT_EQ(std::filesystem::current_path(), folder_) << "the working folder was left";
    }

    const variables at_start_ = environment();
    const std::filesystem::path folder_ = std::filesystem::current_path();
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new process_keeper);
    return RUN_ALL_TESTS();
}
