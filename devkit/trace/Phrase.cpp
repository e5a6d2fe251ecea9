// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Phrase.h"

#include "devkit/text/Format.h"
#include "devkit/text/Printable.h"
#include "devkit/trace/ConnectType.h"
#include "devkit/trace/Describe.h"
#include "devkit/trace/RecordHeader.h"
#include "devkit/trace/Words.h"

#include <cstring>

namespace cabinaudio::trace {
namespace {

using Bytes = std::span<const std::uint8_t>;

std::uint32_t functionOf(Bytes payload) {
    std::uint32_t function = 0;
    std::memcpy(&function, payload.data(), sizeof function);
    return function;
}

std::string behindComma(const std::string& text) {
    return text.empty() ? text : ", " + text;
}

std::string requestPhrase(const Words* words, Bytes payload) {
    if (words == nullptr) return text::format("function %u", functionOf(payload));
    if (payload.size() < words->requestSize)
        return words->name + text::format("(%zu bytes, too short)", payload.size());
    return words->name + ("(" + words->request(payload) + ")");
}

/// The results of a refused request are zeros and not shown.
std::string resultsOf(const Words& words, std::int32_t status, Bytes body) {
    if (body.size() < words.replySize)
        return text::format("%zu of %zu bytes", body.size(), words.replySize);
    return status == 0 ? words.reply(body) : std::string();
}

}  // namespace

std::string phraseOf(std::uint32_t type, Bytes payload, Bytes body, std::uint64_t microseconds) {
    const Words* const words = wordsOf(type, functionOf(payload));
    const std::string request = requestPhrase(words, payload) + " -> ";
    std::int32_t status = 0;
    if (body.size() < sizeof status)
        return request + text::format("a reply of %zu bytes", body.size());
    std::memcpy(&status, body.data(), sizeof status);
    if (words == nullptr) return request + statusName(status);
    return request + statusName(status) + behindComma(resultsOf(*words, status, body)) +
           text::format(" [%llu us]", static_cast<unsigned long long>(microseconds));
}

std::string phraseOf(std::uint32_t type, Bytes payload) {
    return requestPhrase(wordsOf(type, functionOf(payload)), payload) + " -> no reply";
}

std::string phraseOfEvent(std::uint32_t type, std::uint32_t event, std::uint32_t param) {
    return "<- " + describeEvent(static_cast<audio_connect_type>(type), event, param);
}

std::string lineOf(std::uint32_t handle, std::uint32_t type, std::string_view name,
                   std::string_view phrase) {
    const bool isTyped = type != UNKNOWN;
    return text::format("#%u ", handle) +
           (isTyped ? connectTypeName(static_cast<audio_connect_type>(type)) : "unregistered") +
           " " + text::inQuotes(name) + " " + text::printable(phrase);
}

}  // namespace cabinaudio::trace
