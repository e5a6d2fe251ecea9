// SPDX-License-Identifier: Apache-2.0
#include "tools/view/LiveFeed.h"

#include <poll.h>

#include <algorithm>

namespace cabinaudio::tool::view {

namespace {

using namespace std::chrono_literals;

// As many as the server keeps.
constexpr std::size_t REQUESTS = 32;
// A standing picture is sent now and then: its time goes on.
constexpr auto LONGEST_PICTURE_SILENCE = 1000ms;

/// Without the braces.
std::string membersOf(const Json& json) {
    const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text.substr(1, text.size() - 2);
}

}  // namespace

void LiveFeed::ask() {
    mPoll.ask("live " + std::to_string(mLastRequest));
}

bool LiveFeed::begin(std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    ask();
    while (!mPoll.lostSince()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        struct pollfd entry = {mPoll.descriptor(), POLLIN, 0};
        if (left.count() <= 0) return false;
        if (poll(&entry, 1, static_cast<int>(left.count())) > 0 && receive()) return true;
    }
    return false;
}

bool LiveFeed::receive() {
    std::optional<Json> state = mPoll.receive();
    if (!state) return false;
    mState = std::move(*state);
    const std::uint64_t lastRequest = mLastRequest;
    takeRequests();
    const auto timeless = [this] {
        Json json = mState;
        json.erase("time_ms");
        return membersOf(json);
    }();
    const Clock::time_point now = Clock::now();
    if (mLive && timeless == mShown && lastRequest == mLastRequest &&
        now - mShownAt < LONGEST_PICTURE_SILENCE)
        return false;
    mShown = timeless;
    mShownAt = now;
    auto live = std::make_shared<Live>();
    live->number = mLive ? mLive->number + 1 : 1;
    live->members = membersOf(mState);
    live->requests.assign(mRequests.begin(), mRequests.end());
    mLive = std::move(live);
    return true;
}

/// Moves the new ones to those that are known.
void LiveFeed::takeRequests() {
    const auto found = mState.find("requests");
    if (found == mState.end()) return;
    for (Json& request : *found) {
        const auto number = request.value("number", std::uint64_t{0});
        if (number <= mLastRequest) continue;
        mLastRequest = number;
        mRequests.push_back({number, std::move(request)});
        if (mRequests.size() > REQUESTS) mRequests.pop_front();
    }
    mState.erase("requests");
}

}  // namespace cabinaudio::tool::view
