// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>

#include "foundation/Log.h"
#include "link/Request.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

/// One settings operation: what goes out, what comes back. An operation reads as
///
///     return set(*mRc, AUDIO_LOG_SITE, Function::SetMasterStep, Byte{volume});
///     return get(*mRc, AUDIO_LOG_SITE, Function::GetTrackGain, sent(Text{tag}, Text{name}), *dB);
///
/// where the site gives the log the operation's name. Requests are laid out in the request block
/// and results are taken from the reply block; there is no copy of either.
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

/// A number of four bytes; pointers are none.
template <typename T>
concept FourByteNumber = sizeof(T) == 4 && (std::is_arithmetic_v<T> || std::is_enum_v<T>);

/// A record of words, as far as a compiler can tell: a pointer or a number of eight bytes in it
/// shows in its alignment, pointers in 64-bit builds only.
template <typename T>
concept WordRecord =
    std::is_class_v<T> && sizeof(T) % 4 == 0 &&
    alignof(T) <= 4 && std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T>;

/// Types whose values travel as they lie in memory.
template <typename T>
constexpr bool isPlain = FourByteNumber<T> || WordRecord<T>;
template <typename T, std::size_t SIZE>
constexpr bool isPlain<T[SIZE]> = isPlain<T>;
template <typename T, std::size_t SIZE>
constexpr bool isPlain<std::array<T, SIZE>> = SIZE != 0 && isPlain<T>;
template <>
inline constexpr bool isPlain<Byte> = false;
template <>
inline constexpr bool isPlain<Text> = false;

/// A field of a request.
template <typename T>
concept Sendable = isPlain<T> || std::is_same_v<T, Byte> || std::is_same_v<T, Text>;

template <typename Field>
constexpr std::uint32_t FIELD_SIZE = static_cast<std::uint32_t>(sizeof(Field));
template <>
inline constexpr std::uint32_t FIELD_SIZE<Byte> = 4;
template <>
inline constexpr std::uint32_t FIELD_SIZE<Text> = Text::FIELD;

/// A record or an array where it lies.
struct Memory {
    const void* at;
    std::uint32_t size;
};

/// A field in one of four forms, however many types there are.
template <typename Field>
auto formOf(const Field& field) {
    if constexpr (FourByteNumber<Field>)
        return std::bit_cast<std::uint32_t>(field);
    else if constexpr (isPlain<Field>)
        return Memory{&field, FIELD_SIZE<Field>};
    else
        return field;
}

// Each returns where the next field begins. The block is all zeros before.
inline std::uint8_t* put(std::uint8_t* at, std::uint32_t word) {
    std::memcpy(at, &word, sizeof word);
    return at + sizeof word;
}
inline std::uint8_t* put(std::uint8_t* at, const Byte& field) {
    *at = field.value;
    return at + FIELD_SIZE<Byte>;
}
inline std::uint8_t* put(std::uint8_t* at, const Text& field) {
    std::memcpy(at, field.text, strnlen(field.text, field.most));
    return at + Text::FIELD;
}
inline std::uint8_t* put(std::uint8_t* at, const Memory& field) {
    std::memcpy(at, field.at, field.size);
    return at + field.size;
}

/// The fields of a request, behind the place of the function id. Records and texts are not copied
/// before the operation fills its request.
template <typename... Forms>
struct Sent {
    std::uint32_t size;  // of the request
    std::tuple<Forms...> forms;

    static void fill(std::uint8_t* at, const void* forms) {
        std::apply([&](const auto&... form) { ((at = put(at, form)), ...); },
                   *static_cast<const std::tuple<Forms...>*>(forms));
    }
};

template <typename... Fields>
auto sent(const Fields&... fields) {
    static_assert((Sendable<Fields> && ...),
                  "A field of a request is a number of four bytes, a Byte, a Text, a record of "
                  "words, or an array of numbers or records.");
    return Sent<decltype(formOf(fields))...>{
        (static_cast<std::uint32_t>(sizeof(std::uint32_t)) + ... + FIELD_SIZE<Fields>),
        {formOf(fields)...}};
}

// ---- Results of a reply -------------------------------------------------------------------------

/// A result that is stored in another form than the reply has it in. `store` gets the reply's own
/// record, before the blocks are freed.
template <typename Record, typename Store>
struct Received {
    Store store;
};

template <typename Record, typename Store>
Received<Record, Store> received(Store store) {
    static_assert(isPlain<Record>, "A reply holds numbers of four bytes and records of words.");
    return {store};
}

// Where a result goes. An operation that does not refuse a null pointer drops what it would point
// to.
struct FlagPlace {
    bool* flag;
};
struct BytePlace {
    std::uint8_t* byte;
};
struct WordPlace {
    void* word;
};
struct MemoryPlace {
    void* at;
    std::uint32_t size;
};

template <typename Result>
auto placeOf(Result* result) {
    if constexpr (std::is_same_v<Result, bool>) {
        return FlagPlace{result};
    } else if constexpr (std::is_same_v<Result, std::uint8_t>) {
        return BytePlace{result};
    } else if constexpr (FourByteNumber<Result>) {
        return WordPlace{result};
    } else {
        static_assert(isPlain<Result>,
                      "A result is a flag, a byte, a number of four bytes or a record of words.");
        return MemoryPlace{result, sizeof(Result)};
    }
}
template <typename Result>
auto placeOf(Result& result) {
    return placeOf(&result);
}
template <typename Record, typename Store>
auto placeOf(Received<Record, Store>& result) {
    return &result;
}

// Each returns where the next result begins.
inline const std::uint8_t* take(const std::uint8_t* at, const FlagPlace& place) {
    if (place.flag != nullptr) *place.flag = *at != 0;
    return at + sizeof(std::uint32_t);
}
inline const std::uint8_t* take(const std::uint8_t* at, const BytePlace& place) {
    if (place.byte != nullptr) *place.byte = *at;
    return at + sizeof(std::uint32_t);
}
inline const std::uint8_t* take(const std::uint8_t* at, const WordPlace& place) {
    if (place.word != nullptr) std::memcpy(place.word, at, sizeof(std::uint32_t));
    return at + sizeof(std::uint32_t);
}
inline const std::uint8_t* take(const std::uint8_t* at, const MemoryPlace& place) {
    if (place.at != nullptr) std::memcpy(place.at, at, place.size);
    return at + place.size;
}
template <typename Record, typename Store>
const std::uint8_t* take(const std::uint8_t* at, Received<Record, Store>* place) {
    place->store(*reinterpret_cast<const Record*>(at));
    return at + sizeof(Record);
}

template <typename... Places>
void takeAll(const std::uint8_t* at, const void* places) {
    std::apply([&](const auto&... place) { ((at = take(at, place)), ...); },
               *static_cast<const std::tuple<Places...>*>(places));
}

template <typename Result>
constexpr std::uint32_t RESULT_SIZE = sizeof(Result) < 4
                                          ? 4U
                                          : static_cast<std::uint32_t>(sizeof(Result));
template <typename Result>
constexpr std::uint32_t RESULT_SIZE<Result*> = RESULT_SIZE<Result>;
template <typename Record, typename Store>
constexpr std::uint32_t RESULT_SIZE<Received<Record, Store>> = sizeof(Record);

// ---- Operations ---------------------------------------------------------------------------------

/// What fills a request, behind the function id.
struct Request {
    std::uint32_t function;
    std::uint32_t size;  // with the function id
    void (*fill)(std::uint8_t* at, const void* context);
    const void* context;
};

/// What takes the results of a reply, behind the status. Called whenever the server has answered,
/// before the blocks are freed.
struct Reply {
    std::uint32_t size;  // with the status
    void (*take)(const std::uint8_t* at, const void* context);
    const void* context;
};

/// The one request of an operation. The lines of the log name the operation of `site`.
Answer exchange(RemoteCall& rc, const LogSite& site, const Request& request, const Reply& reply);

/// An operation with results. They are stored whenever the server has answered.
template <typename Function, typename... Forms, typename... Results>
Answer ask(RemoteCall& rc, const LogSite& site, Function function, const Sent<Forms...>& fields,
           Results&&... results) {
    const std::tuple places{placeOf(results)...};
    return exchange(rc, site, {id(function), fields.size, Sent<Forms...>::fill, &fields.forms},
                    {(static_cast<std::uint32_t>(sizeof(std::int32_t)) + ... +
                      RESULT_SIZE<std::remove_cvref_t<Results>>),
                     takeAll<decltype(placeOf(results))...>, &places});
}

template <typename Function, typename... Forms, typename... Results>
std::int32_t get(RemoteCall& rc, const LogSite& site, Function function,
                 const Sent<Forms...>& fields, Results&&... results) {
    return ask(rc, site, function, fields, results...).status;
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
