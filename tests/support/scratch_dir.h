// A folder of its own for one test: made empty, entered as the working folder, removed at the end.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdlib.h>
#include <string>
#include <unistd.h>

class scratch_dir {
  public:
    scratch_dir() : before_(std::filesystem::current_path()) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "corvex-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("mkdtemp");
            std::abort();
        }
        path_ = pattern;
        std::filesystem::current_path(path_);
    }
    ~scratch_dir() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    scratch_dir(const scratch_dir&) = delete;
    scratch_dir& operator=(const scratch_dir&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path before_;
    std::filesystem::path path_;
};
