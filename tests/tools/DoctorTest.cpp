// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/ToolTest.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace cabinaudio::test {

namespace {

json examined(const Words& more = {}, const ToolSetup& setup = {}) {
    return jsonOf(runTool(with({"doctor", "--json"}, more), setup));
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

TEST(Doctor, PassesWithAServer) {
    const RealServer server;
    const Outcome result = runExpecting(0, {"doctor"});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 20) << result.out;
    EXPECT_THAT(result.out, Not(HasSubstr("FAIL")));
    EXPECT_THAT(result.out, Not(HasSubstr("\033")));
    EXPECT_THAT(result.out, HasSubstr("version 2.24.25\n"));
}

TEST(Doctor, PrintsTypedChecksInJson) {
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
    EXPECT_THAT(names, testing::UnorderedElementsAre(
                           "server", "real_time", "log_library", "shared_memory", "physical_memory",
                           "cache", "c_library", "descriptors", "versions", "server_user", "output",
                           "output_errors", "mutes", "volumes", "sources", "rings", "rates",
                           "streams", "alsa_plugin", "gstreamer_plugin"));
    EXPECT_EQ(checkNamed(checks, "server")["value"], "answered");
    EXPECT_TRUE(checkNamed(checks, "server")["answer_ms"].is_number());
    EXPECT_TRUE(checkNamed(checks, "shared_memory")["free_bytes"].is_number_unsigned());
    EXPECT_THAT(checkNamed(checks, "real_time")["value"].get<std::string>(),
                testing::AnyOf("permitted", "stand_in"));
    EXPECT_THAT(checkNamed(checks, "log_library")["value"].get<std::string>(), HasSubstr("/"));
    EXPECT_EQ(checkNamed(checks, "c_library")["clock"], "monotonic");
    EXPECT_EQ(checkNamed(checks, "versions")["library"], CABINAUDIO_VERSION);
}

TEST(Doctor, NamesTheCureWhenThereIsNoServer) {
    const Outcome result = runExpecting(1, {"doctor"});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, StartsWith("FAIL  server"));
    EXPECT_THAT(result.out, HasSubstr("-> start one: cabinaudio-server --instance"));
    const json server = checkNamed(examined(), "server");
    EXPECT_FALSE(server["ok"].get<bool>());
    EXPECT_EQ(server["value"], "none");
    EXPECT_TRUE(server["answer_ms"].is_null());
}

TEST(Doctor, DoesNotWaitForAServerThatNeverAnswers) {
    SilentServer silent;
    const json checks = examined({"--timeout", "1"});
    const json server = checkNamed(checks, "server");
    EXPECT_FALSE(server["ok"].get<bool>());
    EXPECT_EQ(server["value"], "silent");
    EXPECT_THAT(server["detail"].get<std::string>(), HasSubstr("has not answered within 1 s"));
    EXPECT_EQ(checkNamed(checks, "versions")["library"], CABINAUDIO_VERSION);
}

TEST(Doctor, GivesTheServerTwoSeconds) {
    SilentServer silent;
    const Outcome result = runExpecting(1, {"doctor"});
    EXPECT_THAT(result.out, HasSubstr("has not answered within 2 s"));
    EXPECT_GE(result.took, std::chrono::seconds(2));
}

TEST(Doctor, FailsForADescriptorClosedAtTheStart) {
    const json descriptors = checkNamed(examined({}, {.closed = {0}}), "descriptors");
    EXPECT_FALSE(descriptors["ok"].get<bool>());
    EXPECT_EQ(descriptors["value"], json::array({0}));
    EXPECT_THAT(descriptors["detail"].get<std::string>(), HasSubstr("0"));
    EXPECT_THAT(descriptors["cure"].get<std::string>(), HasSubstr("/dev/null"));
}

TEST(Doctor, ReachesTheServerAlthoughADescriptorWasClosed) {
    const RealServer server;
    EXPECT_EQ(checkNamed(examined({}, {.closed = {0, 2}}), "server")["value"], "answered");
}

TEST(Doctor, FailsForTheDevicesWithoutTheStandIn) {
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

class ToolWithoutLauncher : public ToolTest {
protected:
    void SetUp() override {
        if (toolIsEmulated()) GTEST_SKIP() << "started by hand through the launcher";
        if (hasBoardDevices()) GTEST_SKIP() << "this machine has the devices";
        mSetup.program = mDirectory.file("cabinaudio");
        std::filesystem::copy_file(toolPath(), mSetup.program);
    }

    ToolSetup mSetup;
};

TEST_F(ToolWithoutLauncher, FailsWithOneLine) {
    const Outcome result = runExpecting(1, {"version"}, mSetup);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err,
              "cabinaudio: the board's devices are missing and cabinaudio-run is not beside this "
              "program; install it, or use --no-board\n");
}

TEST_F(ToolWithoutLauncher, StillRunsTheDoctor) {
    const Outcome result = runExpecting(1, {"doctor"}, mSetup);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, HasSubstr("install cabinaudio-run beside this program"));
}

TEST_F(ToolWithoutLauncher, RefusesAnInstance) {
    const Outcome result =
        runExpecting(2, {"version", "--no-board", "--instance", "other"}, mSetup);
    EXPECT_THAT(result.err, HasSubstr("--instance needs the board stand-in"));
}

TEST(Instance, DoesNotSeeTheServerOfAnother) {
    const RealServer server;  // of this test's instance
    const Outcome other = runExpecting(3, {"version", "--instance", "nobody-is-here"});
    EXPECT_THAT(other.err, HasSubstr("no server of instance 'nobody-is-here'"));
}

}  // namespace cabinaudio::test
