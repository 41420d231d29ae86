#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

// A fresh directory that is the current one for as long as the object lives.
class TemporaryDirectory {
public:
    TemporaryDirectory() : previous_(std::filesystem::current_path()) {
        std::string pattern = std::filesystem::temp_directory_path() / "quab-test-XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
        path_ = std::filesystem::canonical(pattern);
        std::filesystem::current_path(path_);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::filesystem::current_path(previous_);
        std::filesystem::remove_all(path_);
    }

    std::string path() const { return path_.string(); }
    // Writes a file below the directory, making the directories on the way.
    void write(const std::string& name, std::string_view text = "") const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }
    // Makes a directory below whose full path has this many characters.
    std::string makeDeep(size_t length) const {
        std::string deep = path();
        const size_t start = deep.size();
        deep.resize(length, 'd');
        for (size_t i = start; i < length; i += 100)
            deep[i] = '/';
        deep.back() = 'd';
        std::filesystem::create_directories(deep);
        return deep;
    }

private:
    std::filesystem::path previous_, path_;
};
