// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>

namespace cabinaudio::test {
namespace {

/// A request of the object waits for the server's reply.
class ObjectInUse : public ::testing::TestWithParam<OperationRow> {};

TEST_P(ObjectInUse, RefusesASecondRequest) {
    const OperationRow& row = GetParam();
    ScriptedServer server;
    LogCapture log;
    server.on(row.type, functionOf(row), Answer::bytes(joined({word(0), row.results})).held());
    const Clients clients(row.type);
    Outputs first;
    std::future<int> answered =
        std::async(std::launch::async, [&] { return row.call(clients, first); });
    ASSERT_TRUE(server.waitForRequest(functionOf(row)));

    Outputs second;
    EXPECT_EQ(row.call(clients, second), row.result == Result::Name ? 1 : NO_MEMORY);
    EXPECT_TRUE(second.isUntouched());
    EXPECT_EQ(second.texts, row.textsOnFailure);
    EXPECT_TRUE(logged(log, ERROR, "RemoteCall", "rcalloc", "bad sequence\n"));
    EXPECT_EQ(server.requests().size(), 2U) << "registration and first request";

    server.release();
    EXPECT_EQ(answered.get(), 0);
    EXPECT_TRUE(first.holds(row.stored));
    EXPECT_EQ(first.texts, row.texts);
}

/// The server ended after the registration.
class ObjectWithoutServer : public ::testing::TestWithParam<OperationRow> {};

TEST_P(ObjectWithoutServer, ReturnsNotSent) {
    const OperationRow& row = GetParam();
    ScriptedServer server;
    const Clients clients(row.type);
    server.stop();
    ASSERT_TRUE(server.waitForEndOf());
    Outputs outputs;
    EXPECT_EQ(row.call(clients, outputs), row.result == Result::Name ? 1 : NOT_SENT);
    EXPECT_TRUE(outputs.isUntouched());
    EXPECT_EQ(outputs.texts, row.textsOnFailure);
}

/// One of each kind: with and without results, of numbers only, with texts, of any length.
std::vector<OperationRow> oneOfEachKind() {
    const std::vector<std::string> names = {"SetMasterVolumeInSteps",  "GetChannelGainInSteps",
                                            "StartMicGainCalibration", "GetStreamTypeList",
                                            "GetOutPutSource",         "GetActiveTracksInfo",
                                            "GetDuplexOfAEC",          "GetEffectParameter",
                                            "SetDACGainControl",       "SetUpMixMode"};
    return rowsWhere([&](const OperationRow& row) {
        return row.type == RECORD_CONTROL ||
               std::find(names.begin(), names.end(), row.test) != names.end();
    });
}

INSTANTIATE_TEST_SUITE_P(For, ObjectInUse, ::testing::ValuesIn(oneOfEachKind()), TEST_NAME);

INSTANTIATE_TEST_SUITE_P(For, ObjectWithoutServer, ::testing::ValuesIn(oneOfEachKind()), TEST_NAME);

}  // namespace
}  // namespace cabinaudio::test
