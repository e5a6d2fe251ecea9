// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Failure.h>

#include "testing/src/Text.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace cabinaudio::testing {
namespace {

namespace fs = std::filesystem;

const ::testing::TestInfo* runningTest() {
    return ::testing::UnitTest::GetInstance()->current_test_info();
}

/// "Prompt.ducksMusic"; the names of parametrized tests have slashes.
std::string nameOf(const ::testing::TestInfo& test) {
    std::string name = std::string(test.test_suite_name()) + "." + test.name();
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

/// A test can have several directories. @return the first free name
fs::path unusedPath(const fs::path& wanted) {
    fs::path path = wanted;
    for (int number = 2; fs::exists(path); ++number)
        path = wanted.string() + "-" + std::to_string(number);
    return path;
}

std::string makeTemporary() {
    const std::string base = environmentValue("TMPDIR");
    std::string path = (base.empty() ? "/tmp" : base) + "/cabinaudio-test.XXXXXX";
    if (mkdtemp(path.data()) == nullptr) throw Failure(withReason(path));
    return path;
}

/// What an earlier run of a test has left is recognised by the process that wrote it.
std::string makeKept(const fs::path& base, const ::testing::TestInfo& test) {
    static const ::testing::TestInfo* lastTest = nullptr;
    std::error_code error;
    const fs::path path = fs::absolute(base) / nameOf(test);
    if (&test != lastTest) {
        fs::remove_all(path, error);
        for (int number = 2;
             fs::remove_all(path.string() + "-" + std::to_string(number), error) > 0;)
            ++number;
    }
    lastTest = &test;
    const fs::path made = unusedPath(path);
    fs::create_directories(made, error);
    if (error) throw Failure(made.string() + ": " + error.message());
    return made;
}

}  // namespace

TestDirectory::TestDirectory() {
    const std::string base = environmentValue("CABINAUDIO_TEST_OUTPUT");
    const ::testing::TestInfo* const test = runningTest();
    mIsKeptOnFailure = !base.empty() && test != nullptr;
    mPath = mIsKeptOnFailure ? makeKept(base, *test) : makeTemporary();
}

TestDirectory::~TestDirectory() {
    const ::testing::TestInfo* const test = runningTest();
    if (mIsKeptOnFailure && test != nullptr && test->result()->Failed()) {
        ::testing::Test::RecordProperty("cabinaudio_directory", mPath);
        return;
    }
    std::error_code error;
    fs::remove_all(mPath, error);
}

}  // namespace cabinaudio::testing
