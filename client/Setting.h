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
/// The braces initialise the request record that the catalogue lists for the function; the id is
/// filled in. The compiler checks the fields of the request and the results against the records.
/// Log lines name the function that makes the request.
namespace cabinaudio::setting {

// ---- Fields of a request ------------------------------------------------------------------------

/// A string in a zeroed field.
/// @param most  most bytes to copy; a string that fills the field has no terminator
wire::Name text(const char* text, std::size_t most = sizeof(wire::Name::text) - 1);

/// Whether a string fits its field including the terminator.
inline bool fitsField(const char* text) {
    constexpr std::size_t FIELD = sizeof(wire::Name::text);
    return text != nullptr && strnlen(text, FIELD) < FIELD;
}

/// An integer or enumeration of four bytes.
template <typename T>
concept Number = sizeof(T) == 4 && (std::is_integral_v<T> || std::is_enum_v<T>);

/// Converts a number to the signedness of its field, or an enumerator to its number.
template <Number T>
constexpr std::int32_t number(T value) {
    return static_cast<std::int32_t>(value);
}
template <Number T>
constexpr std::uint32_t word(T value) {
    return static_cast<std::uint32_t>(value);
}

// ---- Results of a reply -------------------------------------------------------------------------

/// Destination of a result; null discards it. A single byte takes a field of four.
struct Result {
    void* to;
    std::uint32_t size;

    [[nodiscard]] std::uint32_t field() const { return std::max(size, std::uint32_t{4}); }
};

/// A record of words, as far as the compiler can check: a number of eight bytes in it shows in the
/// alignment, and so does a pointer, but only in 64-bit builds.
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

/// Stands for a result in the initialisation of a record: a number matches either signedness, other
/// types match only themselves.
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
/// may replace an array of words.
template <typename Reply, typename... Results>
constexpr bool ARE_FIELDS_OF = sizeof(Reply) == REPLY_SIZE<Results...> &&
                               (IS_RECORD<Results...> || InitializedBy<Reply, Results...>);

// ---- One request --------------------------------------------------------------------------------

/// The connection of a request and the operation named in its log lines.
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
    void (*allocated)(const LogSite&) = nullptr;  // called once the block is allocated
};

struct ReplyReader {
    std::uint32_t size = sizeof(wire::StatusReply);
    /// Gets the reply, including the status, before its block is freed; called whenever the server
    /// has answered.
    void (*take)(const std::uint8_t* reply, const void* context) = nullptr;
    const void* context = nullptr;
};

/// The one path of all settings requests.
Answer sendRequest(const Caller& caller, const Request& request, const ReplyReader& reply);

/// A request whose reply is only a status. @return the status
std::int32_t tell(const Caller& caller, const Bytes& record, const Bytes& behind = {});

/// A request with results, which are stored whenever the server has answered. @return the status
std::int32_t fetch(const Caller& caller, const Request& request, const Result* results,
                   std::size_t count);

/// Logs and returns the refusal of an argument. Sends nothing.
std::int32_t refuseAt(const LogSite& site);

/// Logs a call to an operation that has no effect and is kept for its place in the interface.
std::int32_t deprecatedAt(const LogSite& site);

// ---- Operations ---------------------------------------------------------------------------------

// Unnamed, because it differs between source files: it contains the name of the file being
// compiled.
namespace {

/// Log site of the calling function.
[[maybe_unused]] inline LogSite here(const char* function = __builtin_FUNCTION()) {
    return {STEM<SourceStem(__BASE_FILE__)>.text, function};
}

/// Caller of a request, with the calling function as its operation.
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

/// The same for a record of the application, which is sent without a copy into the request record.
template <auto FUNCTION, WordRecord Value>
std::int32_t setRecord(const From& from, const Value& value) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    static_assert(std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>);
    using Request = wire::RequestOf<FUNCTION>;
    static_assert(std::is_same_v<decltype(Request::value), Value> &&
                      offsetof(Request, value) + sizeof value == sizeof(Request),
                  "The request does not carry this record.");
    constexpr std::uint32_t NUMBER = id(FUNCTION);
    return tell(from, {&NUMBER, sizeof NUMBER}, {&value, sizeof value});
}

/// An operation with results, in the order of the reply: references, or pointers that may be null.
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

/// An operation whose reply is read in place.
/// @param take  gets the reply record whenever the server has answered
template <auto FUNCTION, typename Take>
Answer ask(const From& from, wire::RequestOf<FUNCTION>&& request, Take take) {
    static_assert(wire::SETTING<FUNCTION>.hasFlag, "The function travels without the flag.");
    using Record = wire::ReplyOf<FUNCTION>;
    request.function = id(FUNCTION);
    return sendRequest(
        from, {.record = {&request, sizeof request}},
        {sizeof(Record),
         [](const std::uint8_t* reply, const void* context) {
             (*static_cast<const Take*>(context))(*reinterpret_cast<const Record*>(reply));
         },
         &take});
}

}  // namespace

/// An operation with numbers only. Log lines name RemoteCall::callFuncId().
template <auto FUNCTION, typename... Numbers>
std::int32_t call(RemoteCall& rc, Numbers... numbers) {
    static_assert(sizeof(wire::RequestOf<FUNCTION>) == 4 * (1 + sizeof...(Numbers)) &&
                      std::is_same_v<wire::ReplyOf<FUNCTION>, wire::StatusReply>,
                  "The request does not carry these numbers.");
    return rc.callFuncId(id(FUNCTION), static_cast<std::int32_t>(numbers)...,
                         wire::SETTING<FUNCTION>.hasFlag);
}

/// The same for an operation whose reply is a number. Null discards the number.
template <auto FUNCTION>
std::int32_t callForNumber(RemoteCall& rc, std::int32_t* value) {
    static_assert(std::is_same_v<wire::RequestOf<FUNCTION>, wire::FunctionRequest> &&
                  std::is_same_v<wire::ReplyOf<FUNCTION>, wire::NumberReply>);
    return rc.callFuncId(id(FUNCTION), value, wire::SETTING<FUNCTION>.hasFlag);
}

// ---- Ranges -------------------------------------------------------------------------------------

/// False for NaN, too.
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
