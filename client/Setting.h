// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>

#include "client/RequestFrame.h"
#include "foundation/Log.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// One settings operation: what goes out, what comes back. An operation reads as
///
///     return set(*mRc, AUDIO_LOG_SITE, Function::SetMasterVolume, Byte{volume});
///     return get(*mRc, AUDIO_LOG_SITE, Function::GetTrackVolume, sent(tag, name), *volume);
///
/// where the site gives the log its own name. Requests are laid out on the stack; nothing is
/// allocated here.
namespace cabinaudio::setting {

// ---- Fields of a request ------------------------------------------------------------------------

/// One byte in a field of four.
struct Byte {
    std::uint8_t value;
};

/// A text in a zeroed field of 64 bytes.
struct Text {
    static constexpr std::size_t FIELD = 64;
    const char* text;
    std::size_t most = FIELD - 1;  // bytes copied; a text of 64 bytes has no terminator there
};

template <typename Field>
struct FieldSize {
    static_assert(std::is_trivially_copyable_v<Field> && sizeof(Field) % 4 == 0);
    static constexpr std::size_t value = sizeof(Field);
};
template <>
struct FieldSize<Byte> {
    static constexpr std::size_t value = 4;
};
template <>
struct FieldSize<Text> {
    static constexpr std::size_t value = Text::FIELD;
};

template <typename Field>
void put(std::uint8_t* at, const Field& field) {
    std::memcpy(at, &field, sizeof field);
}
inline void put(std::uint8_t* at, const Byte& field) {
    *at = field.value;
}
inline void put(std::uint8_t* at, const Text& field) {
    std::memcpy(at, field.text, strnlen(field.text, field.most));
}

/// The fields of a request, behind the place of the function id.
template <typename... Fields>
auto sent(const Fields&... fields) {
    std::array<std::uint8_t, (sizeof(std::uint32_t) + ... + FieldSize<Fields>::value)> request{};
    [[maybe_unused]] std::uint8_t* at = request.data() + sizeof(std::uint32_t);
    ((put(at, fields), at += FieldSize<Fields>::value), ...);
    return request;
}

// ---- Results of a reply -------------------------------------------------------------------------

template <typename Result>
struct ResultSize {
    static_assert(std::is_trivially_copyable_v<Result>);
    static constexpr std::size_t value = sizeof(Result) < 4 ? 4 : sizeof(Result);
};
template <typename Result>
struct ResultSize<Result*> : ResultSize<Result> {};

/// Stores a result. An operation that does not refuse a null pointer drops what it would point to.
template <typename Result>
void take(const std::uint8_t* at, Result& result) {
    if constexpr (std::is_pointer_v<Result>) {
        if (result != nullptr) std::memcpy(result, at, sizeof *result);
    } else if constexpr (std::is_same_v<Result, bool>) {
        result = *at != 0;
    } else {
        std::memcpy(&result, at, sizeof result);
    }
}

// ---- Operations ---------------------------------------------------------------------------------

/// An operation with results. They are stored whenever the server has answered.
template <typename Function, std::size_t SIZE, typename... Results>
Answer ask(RemoteCall& rc, const LogSite& site, Function function,
           std::array<std::uint8_t, SIZE> request, Results&&... results) {
    put(request.data(), static_cast<std::uint32_t>(function));
    std::array<std::uint8_t,
               (sizeof(std::int32_t) + ... + ResultSize<std::remove_cvref_t<Results>>::value)>
        reply{};
    const Answer answer =
        exchange(rc, site, request.data(), SIZE, reply.data(), reply.size(), true);
    if (answer.arrived) {
        [[maybe_unused]] const std::uint8_t* at = reply.data() + sizeof(std::int32_t);
        ((take(at, results), at += ResultSize<std::remove_cvref_t<Results>>::value), ...);
    }
    return answer;
}

template <typename Function, std::size_t SIZE, typename... Results>
std::int32_t get(RemoteCall& rc, const LogSite& site, Function function,
                 const std::array<std::uint8_t, SIZE>& request, Results&&... results) {
    return ask(rc, site, function, request, results...).status;
}

/// An operation without results.
template <typename Function, typename... Fields>
std::int32_t set(RemoteCall& rc, const LogSite& site, Function function, const Fields&... fields) {
    return ask(rc, site, function, sent(fields...)).status;
}

/// Refuses an argument. Nothing is sent.
inline std::int32_t refuse(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input param\n");
    return AUDIO_BAD_VALUE;
}

/// An operation that is kept for its place in the interface and has no effect.
inline std::int32_t deprecated(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "Deprecated API[%s] is called. \n", site.function);
    return AUDIO_NO_ERROR;
}

/// False for a value that is no number, too.
inline bool isWithin(float value, float least, float most) {
    return value >= least && value <= most;
}

constexpr float GAIN_MIN_DB = -103.5F;
constexpr float GAIN_MAX_DB = 24.0F;

inline bool isGain(float dB) {
    return isWithin(dB, GAIN_MIN_DB, GAIN_MAX_DB);
}
inline bool isAttenuation(float dB) {
    return isWithin(dB, GAIN_MIN_DB, 0.0F);
}

/// Whether a text fits its field with its terminator.
inline bool fitsField(const char* text) {
    return text != nullptr && strnlen(text, Text::FIELD) < Text::FIELD;
}

}  // namespace cabinaudio::setting
