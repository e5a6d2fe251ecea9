// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ResultDirectory.h"

#include "tools/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace cabinaudio::tool::scenario {

namespace {

namespace fs = std::filesystem;

// In each directory that a scenario has used: its results may be replaced.
constexpr char MARK[] = ".cabinaudio-scenario";

bool isResult(const fs::path& file) {
    const std::string name = file.filename();
    const std::string extension = file.extension();
    const auto begins = [&](const char* text) { return name.rfind(text, 0) == 0; };
    return extension == ".log" || (extension == ".wav" && begins("heard")) ||
           (extension == ".json" && (begins("report") || begins("settings"))) ||
           (extension == ".png" && begins("picture")) || (extension == ".txt" && begins("trace")) ||
           begins("stems");
}

std::string newDirectory() {
    const char* const parent = std::getenv("TMPDIR");
    const bool isGiven = parent != nullptr && *parent != '\0';
    std::string path = std::string(isGiven ? parent : "/tmp") + "/cabinaudio-scenario.XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw Failure("cannot make the directory " + path + ": " + std::strerror(errno));
    return path;
}

/// A file of an earlier run would look like a result of this one.
void removeResults(const std::string& path) {
    std::vector<fs::path> results;
    for (const fs::directory_entry& entry : fs::directory_iterator(path))
        if (isResult(entry.path())) results.push_back(entry.path());
    std::error_code error;
    for (const fs::path& result : results)
        if (fs::remove_all(result, error); error)
            throw Failure("cannot remove " + result.string() + ": " + error.message());
}

void prepare(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (!fs::is_directory(path))
        throw Failure("cannot make the directory " + path + ": " + error.message());
    const bool isEmpty = fs::is_empty(path, error);
    if (error) throw Failure("cannot read the directory " + path + ": " + error.message());
    if (!isEmpty && !fs::exists(fs::path(path) / MARK))
        throw Failure(
            "the directory " + path + " has files that are not of a scenario; name a new one",
            ExitCode::Usage);
    removeResults(path);
    if (!std::ofstream(fs::path(path) / MARK))
        throw Failure("cannot write into the directory " + path + ": " + std::strerror(errno));
}

}  // namespace

ResultDirectory::ResultDirectory(const std::string& kept) : mPath(kept), mIsKept(!kept.empty()) {
    if (mIsKept)
        prepare(mPath);
    else
        mPath = newDirectory();
}

ResultDirectory::~ResultDirectory() {
    std::error_code error;
    if (!mIsKept) fs::remove_all(mPath, error);
}

std::vector<std::string> ResultDirectory::files() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(mPath, error))
        if (entry.is_regular_file(error) && entry.path().filename() != MARK)
            names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace cabinaudio::tool::scenario
