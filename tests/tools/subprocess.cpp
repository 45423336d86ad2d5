#include "tests/tools/subprocess.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

// The command line of env(1).
words with_variables(const words& arguments, const words& variables) {
    words all;
    for (const char* name : {"CORVEX_ALSA_PLAYBACK", "CORVEX_ALSA_CAPTURE", "CORVEX_MODULE_PATH",
                             "CORVEX_WAV_PACE", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
        all.insert(all.end(), {"-u", name});
    }
    // Services that may run elsewhere are not found, and temporary files are left here if any are.
    all.insert(all.end(), {"CORVEX_PROPERTY_FILE=properties", "CORVEX_BINDER_DIR=no_services",
                           "CORVEX_BINDER_WAIT_MS=0", "TMPDIR=."});
    all.insert(all.end(), variables.begin(), variables.end());
    all.emplace_back(CORVEX_HAL_PROGRAM);
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

}  // namespace

subprocess::subprocess(const words& arguments, const words& variables)
    : child_process("env", with_variables(arguments, variables), kind::printing) {}

void expect_error(const finished& result, int code, const std::string& says) {
    EXPECT_EQ(result.exit_code, code);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("corvex-hal: ", 0), 0U) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_TRUE(has(result.err, says)) << "expected: " << says << "\nprinted: " << result.err;
    EXPECT_TRUE(has(result.err, "; ")) << result.err;
}

finished run_program(const words& arguments, const words& variables) {
    return subprocess(arguments, variables).wait();
}

finished run_with_fake(const words& variables, words arguments) {
    arguments.insert(arguments.begin(), {"--module", FAKE_MODULE_FILE});
    return run_program(arguments, variables);
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
