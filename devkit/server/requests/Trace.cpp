// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/requests/Trace.h"

#include "devkit/server/base/Text.h"
#include "devkit/text/Output.h"
#include "devkit/trace/Phrase.h"

namespace cabinaudio::server {

Trace::Trace(bool isEnabled) : mIsEnabled(isEnabled), mStart(std::chrono::steady_clock::now()) {}

void Trace::registration(const Client& client, std::uint32_t handle) const {
    if (mIsEnabled) print(handle, client, "registered");
}

void Trace::request(const Client& client, std::span<const std::uint8_t> payload,
                    std::span<const std::uint8_t> reply, std::chrono::microseconds duration) const {
    if (!mIsEnabled) return;
    const auto microseconds = static_cast<std::uint64_t>(duration.count());
    print(client.handle(), client, trace::phraseOf(client.type(), payload, reply, microseconds));
}

void Trace::notification(const Client& client, std::uint32_t event, std::uint32_t param) const {
    if (mIsEnabled)
        print(client.handle(), client, trace::phraseOfEvent(client.type(), event, param));
}

void Trace::disconnection(const Client& client) const {
    if (mIsEnabled) print(client.handle(), client, "disconnected");
}

void Trace::print(std::uint32_t handle, const Client& client, const std::string& text) const {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mStart;
    text::print(format("%11.6f ", time.count()) +
                trace::lineOf(handle, client.type(), client.name(), text) + "\n");
}

}  // namespace cabinaudio::server
