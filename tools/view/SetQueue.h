// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"
#include "tools/view/HttpServer.h"

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>

namespace cabinaudio::tool::view {

/// Hands the page's requests to the thread that talks to the server.
class SetQueue {
public:
    using Answer = HttpServer::Answer;

    /// @param bound  for an answer
    explicit SetQueue(std::chrono::milliseconds bound) : mBound(bound) {}

    /// Waits for the answer. Any thread.
    [[nodiscard]] Answer ask(const std::string& body);

    /// Set while requests wait.
    [[nodiscard]] const Event& waiting() const { return mWaiting; }
    /// Answers all that wait.
    void serve(const std::function<Answer(const std::string& body)>& answer);
    /// Requests are refused from now on.
    void close();

private:
    static constexpr std::size_t MOST = 64;

    struct Request {
        std::string body;
        std::promise<Answer> answer;
    };

    const std::chrono::milliseconds mBound;
    const Event mWaiting;
    std::mutex mLock;
    std::deque<std::shared_ptr<Request>> mRequests;
    bool mIsClosed = false;
};

/// {"name": null, "value": null, "error": {"status": null, "text": ...}}
[[nodiscard]] HttpServer::Answer refusalOf(int status, const std::string& text);

}  // namespace cabinaudio::tool::view
