// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/RawClient.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>

namespace cabinaudio::test {

inline constexpr auto VOLUME = AUDIO_CONNECT_VOLUME_SETTING;
inline constexpr auto SOURCE = AUDIO_CONNECT_SOURCE_SETTING;
inline constexpr auto APP = AUDIO_CONNECT_APP_SETTING;
inline constexpr auto MIXER = AUDIO_CONNECT_MIXER_SETTING;
inline constexpr auto RECORD = AUDIO_CONNECT_RECORD_CONTROL;

/// A request of a settings connection, field by field.
class Message {
public:
    explicit Message(std::uint32_t function) { word(function); }

    Message& word(std::uint32_t value) { return append(&value, sizeof value); }
    Message& number(std::int32_t value) { return append(&value, sizeof value); }
    Message& real(float value) { return append(&value, sizeof value); }
    /// A byte in a field of four.
    Message& step(unsigned value) { return word(value); }
    /// A text in a field of 64.
    Message& text(const std::string& value) {
        char field[64] = {};
        value.copy(field, sizeof field);
        return append(field, sizeof field);
    }
    /// A size and as many bytes.
    Message& block(const Bytes& bytes) {
        word(static_cast<std::uint32_t>(bytes.size()));
        return append(bytes.data(), bytes.size());
    }
    /// Zeros up to a size.
    Message& filledTo(std::size_t size) {
        mBytes.resize(size);
        return *this;
    }

    [[nodiscard]] const Bytes& bytes() const { return mBytes; }

private:
    Message& append(const void* data, std::size_t size) {
        const std::size_t at = mBytes.size();
        mBytes.resize(at + size);
        if (size > 0) std::memcpy(mBytes.data() + at, data, size);
        return *this;
    }

    Bytes mBytes;
};

/// A reply; every place is counted from the status.
class Answer {
public:
    explicit Answer(Bytes bytes) : mBytes(std::move(bytes)) {}

    [[nodiscard]] std::int32_t status() const { return number(0); }
    [[nodiscard]] std::int32_t number(std::size_t at) const { return value<std::int32_t>(at); }
    [[nodiscard]] std::uint32_t word(std::size_t at) const { return value<std::uint32_t>(at); }
    [[nodiscard]] float real(std::size_t at) const { return value<float>(at); }
    [[nodiscard]] unsigned byte(std::size_t at) const { return mBytes.at(at); }
    [[nodiscard]] std::string text(std::size_t at) const {
        const char* const begin = reinterpret_cast<const char*>(&mBytes.at(at));
        return {begin, strnlen(begin, mBytes.size() - at)};
    }
    [[nodiscard]] Bytes from(std::size_t at) const {
        return {mBytes.begin() + static_cast<std::ptrdiff_t>(at), mBytes.end()};
    }
    /// Whether there are only zeros from a place on.
    [[nodiscard]] bool isZeroFrom(std::size_t at) const {
        const Bytes rest = from(at);
        return rest == Bytes(rest.size());
    }

private:
    template <typename Value>
    [[nodiscard]] Value value(std::size_t at) const {
        Value result;
        if (at + sizeof result > mBytes.size()) throw std::runtime_error("reply too short");
        std::memcpy(&result, mBytes.data() + at, sizeof result);
        return result;
    }

    Bytes mBytes;
};

/// One connection of each settings type, opened when it is needed.
class SettingsClients {
public:
    RawClient& of(audio_connect_type type) {
        auto& client = mClients[type];
        if (!client) client = std::make_unique<RawClient>(type, "unkn");
        return *client;
    }
    /// @param size  of the reply
    Answer ask(audio_connect_type type, const Message& message, std::size_t size) {
        return Answer(of(type).call(message.bytes(), size));
    }
    /// A request whose reply is a status.
    std::int32_t tell(audio_connect_type type, const Message& message) {
        return ask(type, message, 4).status();
    }

private:
    std::map<audio_connect_type, std::unique_ptr<RawClient>> mClients;
};

}  // namespace cabinaudio::test
