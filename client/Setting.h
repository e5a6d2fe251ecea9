// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>

#include "foundation/Log.h"
#include "link/Request.h"
#include "wire/Settings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

/// Settings operations. An operation reads as
///
///     return set<Function::SetMasterStep>(*mRc, {.step = volume});
///     return get<Function::GetTrackGain>(*mRc, {.tag = text(tag), .name = text(name)}, *dB);
///
/// The braces are the request record that the catalogue has for the function; its id is filled in.
/// The compiler checks the fields of the request and the results against the records. Log lines
/// name the function that makes the request.
namespace cabinaudio::setting {

// ---- Fields of a request ------------------------------------------------------------------------

/// A text in a zeroed field.
/// @param most  bytes copied; a text that fills the field has no terminator there
wire::Name text(const char* text, std::size_t most = sizeof(wire::Name::text) - 1);

/// Whether a text fits its field with its terminator.
inline bool fitsField(const char* text) {
    constexpr std::size_t FIELD = sizeof(wire::Name::text);
    return text != nullptr && strnlen(text, FIELD) < FIELD;
}

/// A number of four bytes; pointers and floating-point numbers are none.
template <typename T>
concept Number = sizeof(T) == 4 && (std::is_integral_v<T> || std::is_enum_v<T>);

/// The number in a field of the other signedness, or the number of an enumerator.
template <Number T>
constexpr std::int32_t number(T value) {
    return static_cast<std::int32_t>(value);
}
template <Number T>
constexpr std::uint32_t word(T value) {
    return static_cast<std::uint32_t>(value);
}

// ---- Results of a reply -------------------------------------------------------------------------

/// Where a result goes. Null drops the result. A byte lies in a field of four.
struct Result {
    void* to;
    std::uint32_t size;

    [[nodiscard]] std::uint32_t field() const { return std::max(size, std::uint32_t{4}); }
};

/// A record of words, as far as a compiler can tell: a pointer or a number of eight bytes in it
/// shows in its alignment, pointers in 64-bit builds only.
template <typename T>
concept WordRecord =
    std::is_class_v<T> && sizeof(T) % 4 == 0 &&
    alignof(T) <= 4 && std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T>;

template <typename T>
concept Storable =
    Number<T> || std::is_same_v<T, float> || std::is_same_v<T, std::uint8_t> || WordRecord<T>;

template <Storable T>
Result resultOf(T& result) {
    return {&result, sizeof result};
}
template <Storable T>
Result resultOf(T* result) {
    return {result, sizeof *result};
}

/// Stands for a result where a record is initialized: a number has any signedness, everything else
/// is itself.
struct AnyNumber {
    operator std::int32_t() const;
    operator std::uint32_t() const;
};
template <typename T>
using FieldOf = std::conditional_t<Number<T>, AnyNumber, T>;

template <typename Result>
constexpr std::size_t FIELD_SIZE = std::max(sizeof(Result), std::size_t{4});

template <typename Reply, typename... Results>
concept InitializedBy = requires {
    Reply{0, std::declval<FieldOf<Results>>()...};
};

template <typename... Results>
constexpr std::size_t REPLY_SIZE = (sizeof(std::int32_t) + ... + FIELD_SIZE<Results>);

template <typename... Results>
constexpr bool IS_RECORD = sizeof...(Results) == 1 && (WordRecord<Results> && ...);

/// Whether these results are the fields behind the status of a reply. A record of the application
/// may stand for an array of words.
template <typename Reply, typename... Results>
constexpr bool ARE_FIELDS_OF = sizeof(Reply) == REPLY_SIZE<Results...> &&
                               (IS_RECORD<Results...> || InitializedBy<Reply, Results...>);

// ---- One request --------------------------------------------------------------------------------

/// The connection of a request, and the operation that its log lines name.
struct Caller {
    RemoteCall& rc;
    LogSite site;
};

struct Bytes {
    const void* at = nullptr;
    std::uint32_t size = 0;
};

struct Request {
    Bytes record;
    Bytes behind = {};                            // follows the record
    void (*allocated)(const LogSite&) = nullptr;  // called once the request has its block
};

struct Reply {
    std::uint32_t size = sizeof(wire::StatusReply);
    /// Gets the reply, status included, before its block is freed; whenever the server has
    /// answered.
    void (*take)(const std::uint8_t* reply, const void* context) = nullptr;
    const void* context = nullptr;
};

/// Every request of a setting goes through here.
Answer exchange(const Caller& caller, const Request& request, const Reply& reply);

/// A request whose reply is a status. @return the status
std::int32_t tell(const Caller& caller, const Bytes& record, const Bytes& behind = {});

/// A request with results, which are stored whenever the server has answered. @return the status
std::int32_t fetch(const Caller& caller, const Request& request, const Result* results,
                   std::size_t count);

/// Refuses an argument. Nothing is sent.
std::int32_t refuseAt(const LogSite& site);

/// An operation that is kept for its place in the interface and has no effect.
std::int32_t deprecatedAt(const LogSite& site);

// ---- Operations ---------------------------------------------------------------------------------

// Differs from source to source: the file in it is the one that is being compiled.
namespace {

/// The calling function.
[[maybe_unused]] inline LogSite here(const char* function = __builtin_FUNCTION()) {
    return {STEM<SourceStem(__BASE_FILE__)>.text, function};
}

/// Makes the calling function the operation of a request.
struct From : Caller {
    From(RemoteCall& remoteCall, const char* function = __builtin_FUNCTION())
        : Caller{remoteCall, here(function)} {}
};

[[maybe_unused]] inline std::int32_t refuse(const LogSite& site = here()) {
    return refuseAt(site);
}

[[maybe_unused]] inline std::int32_t deprecated(const LogSite& site = here()) {
    return deprecatedAt(site);
}

/// An operation without results.
template <auto FUNCTION>
std::int32_t set(const From& from, wire::RequestOf<FUNCTION>& request) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    static_assert(std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>);
    request.function = id(FUNCTION);
    return tell(from, {&request, sizeof request});
}

template <auto FUNCTION>
std::int32_t set(const From& from, wire::RequestOf<FUNCTION>&& request = {}) {
    return set<FUNCTION>(from, request);
}

/// The same for a record of the application, which is sent from where it lies.
template <auto FUNCTION, WordRecord Value>
std::int32_t setRecord(const From& from, const Value& value) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    static_assert(std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>);
    using Request = wire::RequestOf<FUNCTION>;
    static_assert(std::is_same_v<decltype(Request::value), Value> &&
                      offsetof(Request, value) + sizeof value == sizeof(Request),
                  "The request does not carry this record.");
    constexpr std::uint32_t function = id(FUNCTION);
    return tell(from, {&function, sizeof function}, {&value, sizeof value});
}

/// An operation with results, in the order in which the reply has them: references, or pointers
/// that may be null.
template <auto FUNCTION, typename... Results>
std::int32_t get(const From& from, wire::RequestOf<FUNCTION>&& request, Results&&... results) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    static_assert(ARE_FIELDS_OF<wire::ReplyOf<FUNCTION>,
                                std::remove_pointer_t<std::remove_cvref_t<Results>>...>,
                  "The results are not those of the reply.");
    request.function = id(FUNCTION);
    const std::array places{resultOf(results)...};
    return fetch(from, {.record = {&request, sizeof request}}, places.data(), places.size());
}

/// An operation whose reply is read where it lies.
/// @param take  gets the reply record whenever the server has answered
template <auto FUNCTION, typename Take>
Answer ask(const From& from, wire::RequestOf<FUNCTION>&& request, Take take) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    using Record = wire::ReplyOf<FUNCTION>;
    request.function = id(FUNCTION);
    return exchange(
        from, {.record = {&request, sizeof request}},
        {sizeof(Record),
         [](const std::uint8_t* reply, const void* context) {
             (*static_cast<const Take*>(context))(*reinterpret_cast<const Record*>(reply));
         },
         &take});
}

}  // namespace

/// An operation of numbers alone. Log lines name RemoteCall::callFuncId().
template <auto FUNCTION, typename... Numbers>
std::int32_t call(RemoteCall& rc, Numbers... numbers) {
    static_assert(sizeof(wire::RequestOf<FUNCTION>) == 4 * (1 + sizeof...(Numbers)) &&
                      std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>,
                  "The request does not carry these numbers.");
    return rc.callFuncId(id(FUNCTION), static_cast<std::int32_t>(numbers)...,
                         wire::SETTING<FUNCTION>.hasFlag);
}

/// The same for an operation that is answered with a number. Null drops it.
template <auto FUNCTION>
std::int32_t callForNumber(RemoteCall& rc, std::int32_t* value) {
    static_assert(std::is_same_v<wire::RequestOf<FUNCTION>, wire::FunctionRequest> &&
                  std::is_same_v<wire::ReplyOf<FUNCTION>, wire::NumberReply>);
    return rc.callFuncId(id(FUNCTION), value, wire::SETTING<FUNCTION>.hasFlag);
}

// ---- Ranges -------------------------------------------------------------------------------------

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

}  // namespace cabinaudio::setting
