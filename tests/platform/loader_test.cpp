// Finding and loading modules, with small ones built for the purpose.
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

#include <android/log.h>
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
               (scratch_.file("first") + ":" + scratch_.file("second")).c_str(), 1);
    }
    void TearDown() override {
        property_clear_overrides();
        unsetenv("CORVEX_MODULE_PATH");
        unsetenv("CORVEX_PROPERTY_FILE");
    }

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
    template <typename Load>
    int result_of(Load load) {
        hw_module_t poison = {};
        const hw_module_t* module = &poison;
        const int result = load(&module);
        EXPECT_EQ(module != nullptr, result == 0);
        EXPECT_EQ(*hw_module_error() == '\0', result == 0) << hw_module_error();
        EXPECT_EQ(log_.has(ANDROID_LOG_ERROR, "HAL", hw_module_error()), result != 0);
        if (result == 0) {
            EXPECT_EQ(dlsym(module->dso, "HMI"), module);
            dlclose(module->dso);
        }
        return result;
    }
    int load(const char* inst) {
        return result_of(
            [inst](const hw_module_t** out) { return hw_get_module_by_class("audio", inst, out); });
    }

    log_recorder log_;
    scratch_dir scratch_;
};

TEST_F(Loader, VariantsAreTriedInOrder) {
    const struct {
        const char* key;
        const char* value;
    } steps[] = {
        {"ro.hardware.audio.tested", "v1"},
        {"ro.hardware", "v2"},
        {"ro.product.board", "v3"},
        {"ro.board.platform", "v4"},
        {"ro.arch", "v5"},
        {nullptr, "corvex"},
        {nullptr, "default"},
    };
    for (const auto& step : steps) {
        if (step.key != nullptr) {
            property_override(step.key, step.value);
        }
        // A file of a later variant in an earlier folder does not win.
        place("good", std::string("second/audio.tested.") + step.value + ".so");
    }
    place("good", "first/audio.tested.default.so");
    for (const auto& step : steps) {
        const std::string name = std::string("/audio.tested.") + step.value + ".so";
        const bool last = strcmp(step.value, "default") == 0;
        EXPECT_EQ(found("audio", "tested"), scratch_.file(last ? "first" : "second") + name);
        EXPECT_EQ(load("tested"), 0);
        fs::remove("second" + name);
    }
}

TEST_F(Loader, EarlierFoldersWin) {
    place("wrong_id", "second/audio.primary.corvex.so");
    EXPECT_EQ(load("primary"), -EINVAL);
    const std::string good = place("good", "first/audio.primary.corvex.so");
    EXPECT_EQ(found("audio", "primary"), good);
    EXPECT_EQ(load("primary"), 0);
}

TEST_F(Loader, AnIdMayNameTheInstance) {
    place("good", "first/audio.primary.corvex.so");
    place("wrong_id", "first/audio.other.corvex.so");
    const auto load_id = [this](const char* id) {
        return result_of([id](const hw_module_t** out) { return hw_get_module(id, out); });
    };
    EXPECT_EQ(load_id("audio.primary"), 0);
    EXPECT_EQ(load_id("audio.other"), -EINVAL);
}

TEST_F(Loader, AModuleWithoutInstanceHasTheClassInItsName) {
    const std::string path = place("good", "first/audio.special.so");
    property_override("ro.hardware.audio", "special");
    EXPECT_EQ(found("audio", nullptr), path);
    EXPECT_EQ(result_of([](const hw_module_t** out) { return hw_get_module("audio", out); }), 0);
}

// The module that was meant to load says why it does not; a working one further on hides nothing.
TEST_F(Loader, AFileThatDoesNotLoadIsNotPassedOver) {
    const struct {
        const char* fake;
        const char* reason;
    } rows[] = {
        {"wrong_id", "has id 'lights', not 'audio'"},
        {"null_id", "no id"},
        {"wrong_tag", "tag 0x12345678"},
        {"no_descriptor", "exports no HMI"},
        {"unresolved", "not_in_any_library"},
    };
    place("good", "first/audio.primary.default.so");
    const std::string path = "first/audio.primary.corvex.so";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fake);
        place(row.fake, path);
        EXPECT_EQ(load("primary"), -EINVAL);
        EXPECT_NE(strstr(hw_module_error(), row.reason), nullptr) << hw_module_error();
        EXPECT_NE(strstr(hw_module_error(), path.c_str()), nullptr) << hw_module_error();
        fs::remove(path);
    }
    std::ofstream(path) << std::string(4096, 'x');
    EXPECT_EQ(load("primary"), -EINVAL);
    EXPECT_NE(strstr(hw_module_error(), "invalid ELF header"), nullptr) << hw_module_error();
    fs::remove(path);
    fs::create_symlink("nowhere", path);
    EXPECT_EQ(load("primary"), -ENOENT);
    EXPECT_NE(strstr(hw_module_error(), path.c_str()), nullptr) << hw_module_error();
}

TEST_F(Loader, NoFileNamesWhatWasTried) {
    property_override("ro.hardware", "myboard");
    EXPECT_EQ(result_of([](const hw_module_t** out) {
                  return hw_get_module_by_class("audio", "nowhere", out);
              }),
              -ENOENT);
    for (const std::string& text :
         {std::string("audio.nowhere.<variant>.so"), std::string("myboard, corvex, default"),
          scratch_.file("first") + ", " + scratch_.file("second"), std::string("/hw")}) {
        EXPECT_NE(strstr(hw_module_error(), text.c_str()), nullptr) << hw_module_error();
    }
}

TEST_F(Loader, NamesDoNotLeadToOtherFolders) {
    place("good", "audio.tested.so");
    fs::create_directory("first/audio.tested.");
    place("good", "first/audio.tested.default.so");
    property_override("ro.hardware", "/../../audio.tested");
    EXPECT_EQ(found("audio", "tested"), scratch_.file("first/audio.tested.default.so"));
    EXPECT_EQ(log_.count_containing("ro.hardware"), 1);
    EXPECT_EQ(found("../audio", "tested"), std::to_string(-EINVAL));
    EXPECT_EQ(found("audio", "x/../tested"), std::to_string(-EINVAL));
}

TEST_F(Loader, BadArgumentsAreRefused) {
    const std::string path = place("good", "first/audio.primary.corvex.so");
    const char* const cases[][2] = {{nullptr, "primary"}, {"", "primary"}, {"audio", ""}};
    for (const auto& row : cases) {
        EXPECT_EQ(result_of([&](const hw_module_t** out) {
                      return hw_get_module_by_class(row[0], row[1], out);
                  }),
                  -EINVAL);
    }
    const char* const files[][2] = {{nullptr, "audio"}, {"", "audio"}, {path.c_str(), nullptr}};
    for (const auto& row : files) {
        EXPECT_EQ(result_of([&](const hw_module_t** out) {
                      return hw_load_module_file(row[0], row[1], out);
                  }),
                  -EINVAL);
    }
    EXPECT_EQ(hw_get_module("audio", nullptr), -EINVAL);
    EXPECT_EQ(hw_get_module_by_class("audio", "primary", nullptr), -EINVAL);
    EXPECT_EQ(hw_load_module_file(path.c_str(), "audio", nullptr), -EINVAL);
    EXPECT_EQ(hw_find_module_file("audio", "primary", nullptr, 10), -EINVAL);
}

TEST_F(Loader, ThePathMustFitWithItsZero) {
    const std::string path = place("good", "first/audio.primary.corvex.so");
    std::vector<char> room(path.size(), 'x');
    EXPECT_EQ(hw_find_module_file("audio", "primary", room.data(), room.size()), -ENAMETOOLONG);
    EXPECT_EQ(room[0], '\0');
    room.resize(path.size() + 1);
    EXPECT_EQ(hw_find_module_file("audio", "primary", room.data(), room.size()), 0);
    EXPECT_EQ(std::string(room.data()), path);
}

TEST_F(Loader, ANamedFileIsNotSearchedFor) {
    place("good", "here.so");
    const auto load = [this](const char* path) {
        return result_of(
            [path](const hw_module_t** out) { return hw_load_module_file(path, "audio", out); });
    };
    EXPECT_EQ(load("here.so"), 0);
    EXPECT_EQ(load("libc.so.6"), -ENOENT);
    // Ours is meant, not the library of that name that the process has.
    place("good", "libc.so.6");
    EXPECT_EQ(load("libc.so.6"), 0);
    EXPECT_EQ(load("first"), -EINVAL);
}

// The build tree and an installation: modules in hw/ beside the library, wherever that is.
TEST_F(Loader, ModulesBesideTheLibraryAreFound) {
    Dl_info info;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&hw_get_module), &info), 0);
    fs::create_directories("lib/hw");
    fs::copy_file(info.dli_fname, "lib/libhardware.so");
    const std::string path = place("good", "lib/hw/audio.primary.corvex.so");
    unsetenv("CORVEX_MODULE_PATH");
    void* const copy = dlopen(scratch_.file("lib/libhardware.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(copy, nullptr) << dlerror();
    const auto find =
        reinterpret_cast<decltype(&hw_find_module_file)>(dlsym(copy, "hw_find_module_file"));
    char shown[4096];
    ASSERT_EQ(find("audio", "primary", shown, sizeof(shown)), 0);
    EXPECT_EQ(std::string(shown), path);
    // The environment's folders come first.
    setenv("CORVEX_MODULE_PATH", (":" + scratch_.file("first") + "::").c_str(), 1);
    const std::string nearer = place("good", "first/audio.primary.corvex.so");
    ASSERT_EQ(find("audio", "primary", shown, sizeof(shown)), 0);
    EXPECT_EQ(std::string(shown), nearer);
    dlclose(copy);
}

TEST_F(Loader, ThreadsLoadAtOnceAndKeepTheirOwnReasons) {
    place("good", "first/audio.primary.corvex.so");
    place("wrong_id", "first/audio.other.corvex.so");
    std::vector<std::thread> threads;
    std::vector<std::string> problems(4);
    std::vector<void*> handles[4];
    for (size_t i = 0; i < problems.size(); ++i) {
        threads.emplace_back([&problem = problems[i], &mine = handles[i], bad = i % 2 == 1] {
            for (int round = 0; round < 50; ++round) {
                const hw_module_t* module = nullptr;
                const int result =
                    hw_get_module_by_class("audio", bad ? "other" : "primary", &module);
                const bool names_it = strstr(hw_module_error(), "audio.other.") != nullptr;
                if (result != (bad ? -EINVAL : 0) || names_it != bad) {
                    problem = std::to_string(result) + hw_module_error();
                }
                if (module != nullptr) {
                    mine.push_back(module->dso);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(problems, std::vector<std::string>(4));
    EXPECT_EQ(handles[0], handles[2]);
    const hw_module_t* none = nullptr;
    EXPECT_EQ(hw_get_module_by_class("audio", "other", &none), -EINVAL);
    std::thread([&] { EXPECT_EQ(load("primary"), 0); }).join();
    EXPECT_NE(strstr(hw_module_error(), "audio.other."), nullptr) << hw_module_error();
    for (const auto& mine : handles) {
        for (void* const handle : mine) {
            EXPECT_EQ(dlclose(handle), 0);
        }
    }
}

}  // namespace
