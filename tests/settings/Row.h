// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/support/Logged.h"
#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace cabinaudio::test {

constexpr int NOT_SENT = 1;
constexpr int REFUSED = -3000;
constexpr int NO_MEMORY = -1990;

// Connection types.
constexpr std::uint32_t APP = 128;
constexpr std::uint32_t MIXER = 129;
constexpr std::uint32_t SOURCE = 130;
constexpr std::uint32_t VOLUME = 131;
constexpr std::uint32_t RECORD_CONTROL = 133;

/// The longest name that fits its field.
inline const std::string LONGEST(63, 'n');

[[nodiscard]] Bytes word(std::uint32_t value);
[[nodiscard]] Bytes number(std::int32_t value);
[[nodiscard]] Bytes real(float value);
/// One byte and three zeros.
[[nodiscard]] Bytes byte(std::uint8_t value);
/// A text, and zeros up to 64 bytes.
[[nodiscard]] Bytes text(const std::string& value);
/// `size` bytes that differ from their neighbours; none is 0 or 0xee.
[[nodiscard]] Bytes pattern(std::size_t size);
[[nodiscard]] Bytes joined(std::initializer_list<Bytes> parts);

/// A record made of these bytes.
template <typename Record>
[[nodiscard]] Record recordOf(const Bytes& bytes) {
    Record record{};
    if (bytes.size() >= sizeof record) std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

/// The settings object of one connection type, as applications hold it.
class Clients {
public:
    explicit Clients(std::uint32_t type);

    [[nodiscard]] audio::QVAudioSetting::Volume& volume() const { return *mVolume; }
    [[nodiscard]] audio::QVAudioSetting::Source& source() const { return *mSource; }
    [[nodiscard]] audio::QVAudioSetting::App& app() const { return *mApp; }
    [[nodiscard]] audio::QVAudioSetting::Mixer& mixer() const { return *mMixer; }
    [[nodiscard]] audio::QVAudioRecordControl::AudioRecordControl& record() const {
        return *mRecord;
    }
    /// With the operations that the public interface does not have.
    [[nodiscard]] ClientVolumeSetting& paths() const { return *mVolume; }
    [[nodiscard]] ClientSourceSetting& seats() const { return *mSource; }
    /// Hands the object to `use`.
    template <typename Use>
    int visit(Use use) const {
        if (mVolume) return use(*mVolume);
        if (mSource) return use(*mSource);
        if (mApp) return use(*mApp);
        if (mMixer) return use(*mMixer);
        return use(*mRecord);
    }

private:
    std::unique_ptr<ClientVolumeSetting> mVolume;
    std::unique_ptr<ClientSourceSetting> mSource;
    std::unique_ptr<ClientAppSetting> mApp;
    std::unique_ptr<ClientMixerSetting> mMixer;
    std::unique_ptr<ClientAudioRecordControl> mRecord;
};

/// Where an operation stores its results. Every byte is 0xee at first.
class Outputs {
public:
    Outputs();

    /// Memory for a result.
    template <typename Result>
    [[nodiscard]] Result* at(std::size_t offset = 0) {
        return reinterpret_cast<Result*>(mBytes + offset);
    }
    /// What the caller puts there before the operation.
    void prepare(std::size_t offset, const Bytes& bytes);

    /// The first bytes are these, and nothing else has changed since prepare().
    [[nodiscard]] bool holds(const Bytes& stored) const;
    [[nodiscard]] bool isUntouched() const { return holds({}); }
    [[nodiscard]] Bytes first(std::size_t size) const;

    /// Texts that the caller has after the operation.
    std::vector<std::string> texts;

private:
    alignas(16) unsigned char mBytes[2048];
    Bytes mBefore;
};

using Call = std::function<int(const Clients&, Outputs&)>;

/// What an operation makes of the reply's status word.
enum class Result {
    Status,   // its result
    Ignored,  // nothing: its result is that of the call
    Count,    // its result, unless it is 0: then the word behind it
    Name,     // nothing: a pointer, shown as 0, or as 1 when it is null
};

/// What is different about an operation.
struct Details {
    std::uint32_t replySize = 0;  // what it has room for; 0: the status and the results
    Result result = Result::Status;
    std::vector<std::string> texts = {};  // that the caller then has
    std::vector<std::string> textsOnFailure = {};
    /// The operation as log lines name it, where the test's name does not begin with it.
    const char* logged = nullptr;
};

/// One operation with one set of arguments.
struct OperationRow : Details {
    const char* test;       // what its test is called
    std::uint32_t command;  // command word: 198, or 195 without the flag
    Bytes request;          // everything behind the header
    Call call;              // on the object
    Bytes results;          // what the server answers behind its status
    Bytes stored;           // what the caller then has
    std::uint32_t type;     // connection type; of the table
};

/// Calls a function of an object, or of an object and the outputs.
template <typename Function>
[[nodiscard]] Call callOf(Function function) {
    return [function](const Clients& clients, Outputs& outputs) {
        return clients.visit([&](auto& client) -> int {
            if constexpr (std::is_invocable_v<Function, decltype(client), Outputs&>)
                return function(client, outputs);
            else if constexpr (std::is_invocable_v<Function, decltype(client)>)
                return function(client);
            else
                throw std::logic_error("a row of another table");
        });
    };
}

/// An operation that gets results and stores something.
template <typename Function>
[[nodiscard]] OperationRow getter(const char* test, std::uint32_t command,
                                  std::initializer_list<Bytes> request, const Bytes& results,
                                  const Bytes& stored, Function function, Details details = {}) {
    if (details.replySize == 0) details.replySize = static_cast<std::uint32_t>(4 + results.size());
    return {details, test, command, joined(request), callOf(function), results, stored, 0};
}
/// The same for an operation that stores the results as they are.
template <typename Function>
[[nodiscard]] OperationRow getter(const char* test, std::uint32_t command,
                                  std::initializer_list<Bytes> request, const Bytes& results,
                                  Function function, const Details& details = {}) {
    return getter(test, command, request, results, results, function, details);
}
/// An operation that gets nothing but a status.
template <typename Function>
[[nodiscard]] OperationRow setter(const char* test, std::uint32_t command,
                                  std::initializer_list<Bytes> request, Function function,
                                  const Details& details = {}) {
    return getter(test, command, request, {}, {}, function, details);
}

/// All these rows, of one connection type.
[[nodiscard]] std::vector<OperationRow> ofType(std::uint32_t type,
                                               const std::vector<std::vector<OperationRow>>& parts);

[[nodiscard]] std::vector<OperationRow> volumeRows();
[[nodiscard]] std::vector<OperationRow> sourceRows();
[[nodiscard]] std::vector<OperationRow> appRows();
[[nodiscard]] std::vector<OperationRow> mixerRows();
[[nodiscard]] std::vector<OperationRow> recordControlRows();
/// The rows of all tables that `isWanted` selects.
[[nodiscard]] std::vector<OperationRow> rowsWhere(
    const std::function<bool(const OperationRow&)>& isWanted);

/// Function id.
[[nodiscard]] std::uint32_t functionOf(const OperationRow& row);

/// Rows of all tables are shown by the names of their tests.
template <typename AnyRow>
concept NamedRow = requires(const AnyRow& row) {
    row.test;
};
void PrintTo(const NamedRow auto& row, std::ostream* stream) {
    *stream << row.test;
}
/// For INSTANTIATE_TEST_SUITE_P.
inline constexpr auto TEST_NAME = [](const auto& info) { return std::string(info.param.test); };

}  // namespace cabinaudio::test
