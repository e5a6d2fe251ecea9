// SPDX-License-Identifier: Apache-2.0
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Surroundings.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

json examined(const std::vector<std::string>& more = {}, const ToolSetup& setup = {}) {
    std::vector<std::string> arguments = {"doctor", "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return json::parse(runTool(arguments, setup).out);
}

json checkNamed(const json& checks, const std::string& name) {
    for (const json& check : checks)
        if (check["name"] == name) return check;
    return nullptr;
}

bool hasBoardDevices() {
    return access("/dev/mem", R_OK | W_OK) == 0 && access("/dev/cache", R_OK | W_OK) == 0;
}

}  // namespace

TEST(TheDoctor, FindsAllWellWithAServer) {
    const RealServer server;
    const ToolResult result = runTool({"doctor"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 9) << result.out;
    EXPECT_THAT(result.out, testing::Not(HasSubstr("FAIL")));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("\033")));
    EXPECT_THAT(result.out, HasSubstr("version 2.24.25\n"));
}

TEST(TheDoctor, TellsEachCheckTypedInJson) {
    const RealServer server;
    const json checks = examined();
    std::set<std::string> names;
    for (const json& check : checks) {
        names.insert(check["name"].get<std::string>());
        EXPECT_TRUE(check["ok"].is_boolean()) << check;
        EXPECT_TRUE(check["ok"].get<bool>()) << check;
        EXPECT_TRUE(check.contains("value")) << check;
        EXPECT_FALSE(check["detail"].get<std::string>().empty()) << check;
        EXPECT_TRUE(check["cure"].is_null()) << check;
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("server", "real_time", "log_library",
                                                     "shared_memory", "physical_memory", "cache",
                                                     "c_library", "descriptors", "versions"));
    EXPECT_EQ(checkNamed(checks, "server")["value"], "answered");
    EXPECT_TRUE(checkNamed(checks, "server")["answer_ms"].is_number());
    EXPECT_TRUE(checkNamed(checks, "shared_memory")["free_bytes"].is_number_unsigned());
    EXPECT_THAT(checkNamed(checks, "real_time")["value"].get<std::string>(),
                testing::AnyOf("permitted", "stand_in"));
    EXPECT_THAT(checkNamed(checks, "log_library")["value"].get<std::string>(), HasSubstr("/"));
    EXPECT_EQ(checkNamed(checks, "c_library")["clock"], "monotonic");
    EXPECT_EQ(checkNamed(checks, "versions")["library"], CABINAUDIO_VERSION);
}

TEST(TheDoctor, NamesTheCureWhenThereIsNoServer) {
    const ToolResult result = runTool({"doctor"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, testing::StartsWith("FAIL  server"));
    EXPECT_THAT(result.out, HasSubstr("-> start one: cabinaudio-server --instance"));
    const json server = checkNamed(examined(), "server");
    EXPECT_FALSE(server["ok"].get<bool>());
    EXPECT_EQ(server["value"], "none");
    EXPECT_TRUE(server["answer_ms"].is_null());
}

TEST(TheDoctor, DoesNotWaitForAServerThatNeverAnswers) {
    SilentServer silent;
    const json checks = examined({"--timeout", "1"});
    const json server = checkNamed(checks, "server");
    EXPECT_FALSE(server["ok"].get<bool>());
    EXPECT_EQ(server["value"], "silent");
    EXPECT_THAT(server["detail"].get<std::string>(), HasSubstr("has not answered within 1 s"));
    EXPECT_EQ(checkNamed(checks, "versions")["library"], CABINAUDIO_VERSION);
}

TEST(TheDoctor, GivesTheServerTwoSeconds) {
    SilentServer silent;
    const ToolResult result = runTool({"doctor"});
    EXPECT_FALSE(result.overdue);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.out, HasSubstr("has not answered within 2 s"));
    EXPECT_GE(result.took, std::chrono::seconds(2));
}

TEST(TheDoctor, SeesADescriptorThatWasClosedAtTheStart) {
    ToolSetup setup;
    setup.closed = {0};
    const json descriptors = checkNamed(examined({}, setup), "descriptors");
    EXPECT_FALSE(descriptors["ok"].get<bool>());
    EXPECT_EQ(descriptors["value"], json::array({0}));
    EXPECT_THAT(descriptors["detail"].get<std::string>(), HasSubstr("0"));
    EXPECT_THAT(descriptors["cure"].get<std::string>(), HasSubstr("/dev/null"));
}

TEST(TheDoctor, ReachesTheServerAlthoughADescriptorWasClosed) {
    const RealServer server;
    ToolSetup setup;
    setup.closed = {0, 2};
    EXPECT_EQ(checkNamed(examined({}, setup), "server")["value"], "answered");
}

TEST(TheDoctor, MissesTheDevicesWithoutTheStandIn) {
    if (toolIsEmulated())
        GTEST_SKIP() << "the launcher that starts the emulator brings the stand-in";
    if (hasBoardDevices()) GTEST_SKIP() << "this machine has the devices";
    const json checks = examined({"--no-board"});
    const json memory = checkNamed(checks, "physical_memory");
    const json cache = checkNamed(checks, "cache");
    EXPECT_FALSE(memory["ok"].get<bool>() && cache["ok"].get<bool>());
    EXPECT_NE(memory["value"], "stand_in");
    EXPECT_NE(cache["value"], "stand_in");
    const std::string cures = memory["cure"].dump() + cache["cure"].dump();
    EXPECT_THAT(cures, HasSubstr("cabinaudio-run"));
}

class AToolWithoutItsLauncher : public testing::Test {
protected:
    void SetUp() override {
        if (toolIsEmulated()) GTEST_SKIP() << "started by hand through the launcher";
        if (hasBoardDevices()) GTEST_SKIP() << "this machine has the devices";
        mSetup.program = mDirectory.file("cabinaudio");
        std::filesystem::copy_file(toolPath(), mSetup.program);
    }

    TemporaryDirectory mDirectory;
    ToolSetup mSetup;
};

TEST_F(AToolWithoutItsLauncher, SaysSoInOneLine) {
    const ToolResult result = runTool({"version"}, mSetup);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err,
              "cabinaudio: the board's devices are missing and cabinaudio-run is not beside this "
              "program; install it, or use --no-board\n");
}

TEST_F(AToolWithoutItsLauncher, StillExaminesThePatient) {
    const ToolResult result = runTool({"doctor"}, mSetup);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, HasSubstr("install cabinaudio-run beside this program"));
}

TEST_F(AToolWithoutItsLauncher, HasNoInstances) {
    const ToolResult result = runTool({"version", "--no-board", "--instance", "other"}, mSetup);
    EXPECT_EQ(result.exitCode, 2) << result.text();
    EXPECT_THAT(result.err, HasSubstr("--instance needs the board stand-in"));
}

TEST(AnInstance, IsAWorldOfItsOwn) {
    const RealServer server;  // of this test's instance
    const ToolResult other = runTool({"version", "--instance", "nobody-is-here"});
    EXPECT_EQ(other.exitCode, 3) << other.text();
    EXPECT_THAT(other.err, HasSubstr("no server of instance 'nobody-is-here'"));
}

}  // namespace cabinaudio::test
