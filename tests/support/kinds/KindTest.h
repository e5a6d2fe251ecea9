// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/StreamFixture.h"
#include "tests/support/kinds/StreamKinds.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <future>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace cabinaudio::test {

/// Tests of a stream "str" of some kind against a scripted server that answers its requests.
class KindTest : public StreamFixture {
protected:
    static constexpr unsigned SIZE = RING_SIZE;
    static constexpr int STEP = 512;  // per loop

    explicit KindTest(const StreamKind& kindOfStream) : kind(kindOfStream) {
        onCreate(server, created(STEP));
        onPlace(server, placed());
    }
    ~KindTest() override { stream.reset(); }

    void create() { stream = kind.create(); }
    void start() { ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump(); }

    /// The server's end of a ring in a new object.
    void makeRing() {
        shm_unlink(("/" + kind.ringObject()).c_str());
        serverRing = kind.ring();
        ASSERT_TRUE(serverRing->isUsable()) << log.dump();
    }
    /// Announces a ring in physical memory and waits until the stream has taken it. The others are
    /// there from the beginning.
    void announce() {
        if (kind.isPosix) return;
        const std::size_t before = log.countMatching(INFO, kind.announced);
        server.notify(kind.event, 1);
        ASSERT_TRUE(log.waitForMatching(INFO, kind.announced, before + 1)) << log.dump();
    }
    /// Waits until the stream has handled all notifications so far.
    void settle() {
        const int priority = kind.isTrack() ? ERROR : DEBUG;
        const std::string line = "(\\[str\\] )?unknown msg\\(9999\\), value=0\n";
        const std::size_t before = log.countMatching(priority, line);
        server.notify(9999, 0);
        ASSERT_TRUE(log.waitForMatching(priority, line, before + 1)) << log.dump();
    }
    void waitForRemoval() const {
        const char* const line = "\\[str\\]server (track|record) has be deleted, disconnect.\n";
        EXPECT_TRUE(log.waitForMatching(DEBUG, line)) << log.dump();
    }

    int move(int count) { return stream->move(data.data(), count, true); }
    /// Starts a call that must wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedMove(int count = STEP) {
        return blocked(
            [this, count] {
                std::vector<unsigned char> bytes(static_cast<std::size_t>(count));
                return stream->move(bytes.data(), count, true);
            },
            kind.refusal());
    }

    const StreamKind& kind;
    std::unique_ptr<AnyStream> stream;
};

/// Tests that are the same for several kinds.
class EachKindTest : public KindTest, public ::testing::WithParamInterface<StreamKind> {
protected:
    EachKindTest() : KindTest(GetParam()) {}
};

/// Names a row of combined parameters by its parts: "sink_blocked".
struct NameOfParts {
    template <typename... Part>
    std::string operator()(const ::testing::TestParamInfo<std::tuple<Part...>>& row) const {
        std::string name;
        const auto append = [&name](const auto& part) {
            name += (name.empty() ? "" : "_") + ::testing::PrintToString(part);
        };
        std::apply([&append](const auto&... part) { (append(part), ...); }, row.param);
        return name;
    }
};

}  // namespace cabinaudio::test
