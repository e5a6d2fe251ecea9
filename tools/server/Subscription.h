// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"
#include "tools/Json.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::tool {

/// The development server's notifications of changes: a document, then patches of it.
class Subscription {
public:
    /// One notification.
    struct Change {
        std::string time;  // the server's: "2026-11-22T19:01:02.345+00:00"
        bool isFirst = false;
    };

    /// @param bound  for the document
    /// @return null when the server has no such command
    /// @throws Failure when the server does not answer in time
    static std::unique_ptr<Subscription> open(const Event& interruption,
                                              std::chrono::milliseconds bound);
    ~Subscription();
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// The document after the last change that next() has returned.
    [[nodiscard]] const Json& document() const { return mDocument; }

    /// Readable when a part of a change has arrived, or the server has gone.
    [[nodiscard]] int descriptor() const { return mSocket; }

    /// Waits for the next change and applies it.
    /// @return empty when the time is over, or at an interruption
    /// @throws Failure when the server has gone or has dropped this subscriber
    [[nodiscard]] std::optional<Change> next(std::chrono::milliseconds bound);

private:
    explicit Subscription(int socket, const Event& interruption)
        : mSocket(socket), mInterruption(interruption) {}

    [[nodiscard]] std::optional<std::string> takeLine();
    [[nodiscard]] bool receive(std::chrono::milliseconds bound);
    Change apply(const std::string& line);

    const int mSocket;
    const Event& mInterruption;
    std::string mReceived;
    Json mDocument;
};

}  // namespace cabinaudio::tool
