// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/requests/Trace.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/clients/ConnectType.h"
#include "devkit/server/requests/Describe.h"
#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <cstdio>
#include <cstring>

namespace cabinaudio::server {
namespace {

std::int32_t statusOf(std::span<const std::uint8_t> reply) {
    std::int32_t status = 0;
    std::memcpy(&status, reply.data(), sizeof status);
    return status;
}

std::string inParentheses(const std::string& text) {
    return "(" + text + ")";
}

std::string behindComma(const std::string& text) {
    return text.empty() ? text : ", " + text;
}

}  // namespace

Trace::Trace(bool isEnabled) : mIsEnabled(isEnabled), mStart(std::chrono::steady_clock::now()) {}

void Trace::registration(const Client& client, std::uint32_t handle) const {
    if (mIsEnabled) print(handle, client, "registered");
}

void Trace::request(const Client& client, const Operation& operation,
                    std::span<const std::uint8_t> payload, std::span<const std::uint8_t> reply,
                    std::chrono::microseconds duration) const {
    if (!mIsEnabled) return;
    const std::int32_t status = statusOf(reply);
    // The results of a refused request are zeros and not shown.
    const std::string results = status == 0 ? operation.describeReply(reply) : std::string();
    print(client, operation.name + inParentheses(operation.describeRequest(payload)) + " -> " +
                      statusName(status) + behindComma(results) +
                      format(" [%lld us]", static_cast<long long>(duration.count())));
}

void Trace::unknownRequest(const Client& client, std::uint32_t function,
                           std::int32_t status) const {
    if (mIsEnabled) print(client, format("function %u -> ", function) + statusName(status));
}

void Trace::notification(const Client& client, std::uint32_t event, std::uint32_t param) const {
    if (mIsEnabled) print(client, "<- " + describeEvent(client.type(), event, param));
}

void Trace::disconnection(const Client& client) const {
    if (mIsEnabled) print(client, "disconnected");
}

void Trace::print(const Client& client, const std::string& text) const {
    print(client.handle(), client, text);
}

void Trace::print(std::uint32_t handle, const Client& client, const std::string& text) const {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mStart;
    std::printf("%11.6f #%u %s \"%s\" %s\n", time.count(), handle,
                connectTypeName(client.type()).c_str(), printable(client.name()).c_str(),
                text::printable(text).c_str());
    text::flushOutput();
}

}  // namespace cabinaudio::server
