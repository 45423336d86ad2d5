// Finding and loading modules, with small ones built for the purpose.
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <errno.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <thread>
#include <vector>

#include <cutils/property_overrides.h>
#include <hardware/hardware.h>
#include <hardware/module_file.h>

#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;

class Loader : public testing::Test {
  protected:
    void SetUp() override {
        setenv("CORVEX_PROPERTY_FILE", scratch_.file("properties").c_str(), 1);
        fs::create_directory("first");
        fs::create_directory("second");
        setenv("CORVEX_MODULE_PATH",
               (scratch_.file("first") + "::" + scratch_.file("second")).c_str(), 1);
    }
    void TearDown() override { property_clear_overrides(); }

    // Copies a fake module into the scratch folder; answers its path.
    std::string place(const std::string& fake, const std::string& as) {
        fs::copy_file(std::string(FAKE_MODULE_DIR) + "/" + fake + ".so", as);
        return scratch_.file(as);
    }

    static std::string found(const char* class_id, const char* inst) {
        char path[4096] = "poison";
        const int result = hw_find_module_file(class_id, inst, path, sizeof(path));
        return result == 0 ? path : std::to_string(result);
    }

    // Loads and unloads; answers the result and checks what goes with it.
    template <typename Loading, typename... Arguments>
    int result_of(Loading loading, Arguments... arguments) {
        hw_module_t poison = {};
        const hw_module_t* module = &poison;
        const int result = loading(arguments..., &module);
        EXPECT_EQ(module != nullptr, result == 0);
        EXPECT_EQ(*hw_module_error() == '\0', result == 0) << hw_module_error();
        EXPECT_EQ(log_.has(ANDROID_LOG_ERROR, "HAL", hw_module_error()), result != 0);
        if (result == 0) {
            EXPECT_EQ(dlsym(module->dso, "HMI"), module);
            dlclose(module->dso);
        }
        return result;
    }
    int load(const char* inst) { return result_of(hw_get_module_by_class, "audio", inst); }
    static void expect_reason(const std::string& part) {
        EXPECT_NE(strstr(hw_module_error(), part.c_str()), nullptr)
            << part << " in: " << hw_module_error();
    }

    log_recorder log_;
    scratch_dir scratch_;
};

TEST_F(Loader, VariantsAreTriedInOrderEachInAllFolders) {
    const char* const keys[] = {"ro.hardware.audio.tested", "ro.hardware", "ro.product.board",
                                "ro.board.platform",        "ro.arch",     "corvex"};
    for (const char* key : keys) {  // each property has its own name as its value
        property_override(key, key);
        place("good", std::string("second/audio.tested.") + key + ".so");
    }
    const std::string last = place("good", "first/audio.tested.default.so");
    for (const char* key : keys) {
        const std::string name = std::string("second/audio.tested.") + key + ".so";
        EXPECT_EQ(found("audio", "tested"), scratch_.file(name));
        EXPECT_EQ(load("tested"), 0);
        fs::remove(name);
    }
    place("wrong_id", "second/audio.tested.default.so");
    EXPECT_EQ(found("audio", "tested"), last);
    EXPECT_EQ(load("tested"), 0);
}

TEST_F(Loader, AnIdMayNameTheInstanceOrThereIsNone) {
    place("good", "first/audio.primary.corvex.so");
    place("wrong_id", "first/audio.other.corvex.so");
    place("good", "first/audio.special.so");
    EXPECT_EQ(result_of(hw_get_module, "audio.primary"), 0);
    EXPECT_EQ(result_of(hw_get_module, "audio.other"), -EINVAL);
    property_override("ro.hardware.audio", "special");
    EXPECT_EQ(result_of(hw_get_module, "audio"), 0);
}

// The module that was meant to load says why it does not; a working one further on hides nothing.
TEST_F(Loader, AFileThatDoesNotLoadIsNotPassedOver) {
    const struct {
        const char *fake, *reason;
    } rows[] = {
        {"wrong_id", "has id 'lights', not 'audio'"},
        {"null_id", "no id"},
        {"wrong_tag", "tag 0x12345678"},
        {"no_descriptor", "exports no HMI"},
        {"unresolved", "not_in_any_library"},
    };
    place("good", "first/audio.primary.default.so");
    const std::string path = "first/audio.primary.corvex.so";
    const auto expect_refused = [&](int result, const char* reason) {
        SCOPED_TRACE(reason);
        EXPECT_EQ(load("primary"), result);
        expect_reason(reason);
        expect_reason(path);
        fs::remove(path);
    };
    for (const auto& row : rows) {
        place(row.fake, path);
        expect_refused(-EINVAL, row.reason);
    }
    std::ofstream(path) << std::string(4096, 'x');
    expect_refused(-EINVAL, "invalid ELF header");
    fs::create_symlink("nowhere", path);
    expect_refused(-ENOENT, "No such file");
}

TEST_F(Loader, NoFileNamesWhatWasTriedAndNoNameLeadsToOtherFolders) {
    place("good", "audio.tested.so");
    fs::create_directory("first/audio.tested.");
    const std::string path = place("good", "first/audio.tested.default.so");
    property_override("ro.board.platform", "myboard");
    EXPECT_EQ(load("nowhere"), -ENOENT);
    expect_reason("audio.nowhere.<variant>.so with variant myboard, corvex, default in " +
                  scratch_.file("first") + ", " + scratch_.file("second"));
    property_override("ro.hardware", "/../../audio.tested");
    EXPECT_EQ(found("audio", "tested"), path);
    EXPECT_EQ(log_.count_containing("ro.hardware"), 1);
    const char* const bad[][2] = {
        {"../audio", "tested"}, {"audio", "x/../tested"}, {nullptr, "tested"}, {"audio", ""}};
    for (const auto& row : bad) {
        EXPECT_EQ(found(row[0], row[1]), std::to_string(-EINVAL));
    }
    EXPECT_EQ(hw_get_module_by_class("audio", "tested", nullptr), -EINVAL);
    std::vector<char> room(path.size(), 'x');
    EXPECT_EQ(hw_find_module_file("audio", "tested", room.data(), room.size()), -ENAMETOOLONG);
}

TEST_F(Loader, ANamedFileIsNotSearchedFor) {
    EXPECT_EQ(result_of(hw_load_module_file, "libc.so.6", "audio"), -ENOENT);
    // Ours is meant, not the library of that name that the process has.
    place("good", "libc.so.6");
    EXPECT_EQ(result_of(hw_load_module_file, "libc.so.6", "audio"), 0);
    EXPECT_EQ(result_of(hw_load_module_file, "first", "audio"), -EINVAL);
    EXPECT_EQ(hw_load_module_file(nullptr, "audio", nullptr), -EINVAL);
}

// The build tree and an installation: modules in hw/ beside the library, wherever that is.
TEST_F(Loader, ModulesBesideTheLibraryAreFoundAfterTheEnvironments) {
    Dl_info info;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&hw_get_module), &info), 0);
    fs::create_directories("lib/hw");
    fs::copy_file(info.dli_fname, "lib/libhardware.so");
    const std::string beside = place("good", "lib/hw/audio.primary.corvex.so");
    void* const copy = dlopen(scratch_.file("lib/libhardware.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(copy, nullptr) << dlerror();
    const auto find =
        reinterpret_cast<decltype(&hw_find_module_file)>(dlsym(copy, "hw_find_module_file"));
    char shown[4096];
    EXPECT_EQ(find("audio", "primary", shown, sizeof(shown)), 0);
    EXPECT_EQ(shown, beside);
    const std::string nearer = place("good", "second/audio.primary.corvex.so");
    EXPECT_EQ(find("audio", "primary", shown, sizeof(shown)), 0);
    EXPECT_EQ(shown, nearer);
    dlclose(copy);
}

TEST_F(Loader, ThreadsLoadAtOnceAndKeepTheirOwnReasons) {
    place("good", "first/audio.primary.corvex.so");
    place("wrong_id", "first/audio.other.corvex.so");
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    std::vector<void*> opened[4];  // all kept to the end, so that the first loads are at once
    for (std::vector<void*>& mine : opened) {
        threads.emplace_back([&wrong, &mine, bad = &mine - opened >= 2] {
            for (int round = 0; round < 50; ++round) {
                const hw_module_t* module = nullptr;
                hw_get_module_by_class("audio", bad ? "other" : "primary", &module);
                wrong += (strstr(hw_module_error(), "audio.other.") != nullptr) != bad;
                wrong += (module == nullptr) != bad;
                mine.push_back(module != nullptr ? module->dso : nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(dlclose(opened[i / 50][i % 50]), 0);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(load("other"), -EINVAL);
    std::thread([this] { EXPECT_EQ(load("primary"), 0); }).join();
    expect_reason("audio.other.");
}

}  // namespace
