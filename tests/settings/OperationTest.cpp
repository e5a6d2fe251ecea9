// SPDX-License-Identifier: Apache-2.0
//
// Every operation that is one request, in every way that a request can end.
#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <optional>

namespace cabinaudio::test {
namespace {

constexpr int SERVER_ERROR = -42;

class SettingOperation : public ::testing::TestWithParam<OperationRow> {
protected:
    SettingOperation() : row(GetParam()), server(std::in_place) {}

    void answers(const Answer& answer) { server->on(row.type, functionOf(row), answer); }
    void answers(std::int32_t status) {
        answers(Answer::bytes(joined({number(status), row.results})));
    }
    [[nodiscard]] int call(const Clients& clients) {
        outputs = Outputs();
        return row.call(clients, outputs);
    }
    /// Requests so far, in front of which stand registrations.
    [[nodiscard]] std::vector<Request> requests() const {
        std::vector<Request> all = server->requests();
        std::erase_if(all, [](const Request& one) { return one.isRegistration(); });
        return all;
    }

    /// The operation's result when the server has answered this status.
    [[nodiscard]] int resultOf(std::int32_t status) const {
        if (row.result == Result::Ignored || row.result == Result::Name) return 0;
        if (row.result == Result::Count && status == 0) return recordOf<int>(row.results);
        return status;
    }
    /// The same when the operation has not come so far.
    [[nodiscard]] int resultOfFailure(int failure) const {
        return row.result == Result::Name ? 1 : failure;
    }

    void expectStored(const Bytes& stored) const {
        EXPECT_TRUE(outputs.holds(stored))
            << ::testing::PrintToString(outputs.first(stored.size() + 16));
    }
    void expectResults() const {
        expectStored(row.stored);
        EXPECT_EQ(outputs.texts, row.texts);
    }
    void expectNoResults() const {
        EXPECT_TRUE(outputs.isUntouched());
        EXPECT_EQ(outputs.texts, row.textsOnFailure);
    }

    /// Whether one line names the operation, or the one that sends requests of numbers.
    [[nodiscard]] bool isNamed(const std::vector<LogLine>& lines) const {
        return std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
            if (line.text.rfind("rcfree error.\n") == std::string::npos) return false;
            if (line.text.rfind("[RemoteCall][callFuncId][", 0) == 0) return true;
            const std::size_t begin = line.text.find("][") + 2;
            std::string name = line.text.substr(begin, line.text.find(']', begin) - begin);
            if (row.logged != nullptr) return name == row.logged;
            name[0] = static_cast<char>(std::toupper(name[0]));
            return std::string(row.test).rfind(name, 0) == 0;
        });
    }

    const OperationRow row;
    LogCapture log;
    std::optional<ScriptedServer> server;
    Outputs outputs;
};

TEST_P(SettingOperation, SendsOneRequestAndReturnsTheAnswer) {
    const Blocks blocks;
    const Clients clients(row.type);
    answers(0);
    EXPECT_EQ(call(clients), resultOf(0));
    expectResults();
    ASSERT_EQ(requests().size(), 1U);
    EXPECT_EQ(requests()[0].header.type, row.type);
    EXPECT_EQ(requests()[0].header.cmd, row.command);
    EXPECT_EQ(requests()[0].header.length, row.request.size());
    EXPECT_EQ(requests()[0].payload, row.request);
    EXPECT_EQ(blocks.asked(), 1U);
    EXPECT_EQ(blocks.requestSize(), row.request.size());
    EXPECT_EQ(blocks.replySize(), row.replySize);

    answers(SERVER_ERROR);
    EXPECT_EQ(call(clients), resultOf(SERVER_ERROR));
    expectResults();
    EXPECT_TRUE(logged(log, ERROR, "rcfree error.\n", 0));

    // What a short reply leaves out reads as zeros.
    answers(Answer::status(SERVER_ERROR));
    EXPECT_EQ(call(clients), resultOf(SERVER_ERROR));
    expectStored(Bytes(row.stored.size()));
}

TEST_P(SettingOperation, ReportsEachFailureOnTheWay) {
    Blocks blocks;
    std::optional<Clients> clients(row.type);
    answers(0);
    blocks.refuse(true);
    EXPECT_EQ(call(*clients), resultOfFailure(NO_MEMORY));
    expectNoResults();
    EXPECT_TRUE(requests().empty());
    blocks.refuse(false);

    blocks.failFreeing(true);
    EXPECT_EQ(call(*clients), resultOf(0));
    expectResults();
    EXPECT_TRUE(logged(log, ERROR, "rcfree error.\n"));
    EXPECT_TRUE(isNamed(log.lines())) << log.dump();
    blocks.failFreeing(false);

    blocks.loseReplies(true);
    EXPECT_EQ(call(*clients), resultOfFailure(NOT_SENT));
    expectNoResults();
    blocks.loseReplies(false);

    server.reset();
    clients.emplace(row.type);
    EXPECT_EQ(call(*clients), resultOfFailure(NOT_SENT));
    expectNoResults();
}

INSTANTIATE_TEST_SUITE_P(Volume, SettingOperation, ::testing::ValuesIn(volumeRows()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(Source, SettingOperation, ::testing::ValuesIn(sourceRows()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(App, SettingOperation, ::testing::ValuesIn(appRows()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(Mixer, SettingOperation, ::testing::ValuesIn(mixerRows()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(Capture, SettingOperation, ::testing::ValuesIn(recordControlRows()),
                         TEST_NAME);

}  // namespace
}  // namespace cabinaudio::test
