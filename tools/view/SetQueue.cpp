// SPDX-License-Identifier: Apache-2.0
#include "tools/view/SetQueue.h"

#include "tools/Json.h"

#include <utility>

namespace cabinaudio::tool::view {

namespace {
constexpr int UNAVAILABLE = 503;
}  // namespace

HttpServer::Answer refusalOf(int status, const std::string& text) {
    const Json json = {
        {"name", nullptr}, {"value", nullptr}, {"error", {{"status", nullptr}, {"text", text}}}};
    return {status, json.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

SetQueue::Answer SetQueue::ask(const std::string& body) {
    const auto request = std::make_shared<Request>();
    request->body = body;
    std::future<Answer> answer = request->answer.get_future();
    {
        const std::lock_guard lock(mLock);
        if (mIsClosed) return refusalOf(UNAVAILABLE, "cabinaudio view ends");
        if (mRequests.size() >= MOST) return refusalOf(UNAVAILABLE, "too many requests wait");
        mRequests.push_back(request);
    }
    mWaiting.set();
    if (answer.wait_for(mBound) == std::future_status::ready) return answer.get();
    return refusalOf(UNAVAILABLE, "timed out waiting for the server's answer");
}

void SetQueue::serve(const std::function<Answer(const std::string& body)>& answer) {
    mWaiting.clear();
    for (;;) {
        std::shared_ptr<Request> request;
        {
            const std::lock_guard lock(mLock);
            if (mRequests.empty()) return;
            request = mRequests.front();
            mRequests.pop_front();
        }
        request->answer.set_value(answer(request->body));
    }
}

void SetQueue::close() {
    {
        const std::lock_guard lock(mLock);
        mIsClosed = true;
    }
    serve([](const std::string&) { return refusalOf(UNAVAILABLE, "cabinaudio view ends"); });
}

}  // namespace cabinaudio::tool::view
