// SPDX-License-Identifier: Apache-2.0
//
// Types that a request can carry, and those that must not compile.
#include <cabinaudio/QVAudioSettingTypes.h>

#include "client/Setting.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

namespace cabinaudio::setting {
namespace {

enum Word : std::uint32_t {};
enum class Wide : std::uint64_t {};
enum class Narrow : std::uint8_t {};

struct Words {
    std::uint32_t first;
    float second;
};
struct ThreeBytes {
    char bytes[3];
};
struct WithDouble {
    double value;
};
struct WithPointer {
    const char* text;
    std::uintptr_t length;
};
struct WithCopy {
    std::uint32_t word;
    WithCopy(const WithCopy& other) : word(other.word + 1) {}
};
struct WithTable {
    virtual ~WithTable() = default;
    std::uint32_t word;
};

static_assert(Sendable<int> && Sendable<unsigned> && Sendable<float>);
static_assert(Sendable<std::int32_t> && Sendable<std::uint32_t>);
static_assert(Sendable<Word> && Sendable<audio::audio_channel_idx_e>);
static_assert(Sendable<Byte> && Sendable<Text>);
static_assert(Sendable<Words> && Sendable<audio::audio_mixer_matrix_t>);
static_assert(Sendable<float[8]> && Sendable<std::array<float, 8>>);
static_assert(Sendable<Words[2]> && Sendable<std::array<Words, 2>>);
static_assert(Sendable<std::uint32_t[2][3]>);

// An address means nothing to the server.
static_assert(!Sendable<const char*> && !Sendable<char*> && !Sendable<void*>);
static_assert(!Sendable<float*> && !Sendable<const Words*> && !Sendable<std::nullptr_t>);
static_assert(!Sendable<void (*)()> && !Sendable<int Words::*>);
static_assert(!Sendable<const char* [2]> && !Sendable<std::array<const char*, 2>>);
static_assert(!Sendable<std::array<std::array<float*, 2>, 2>>);
static_assert(sizeof(void*) == 4 || (!Sendable<WithPointer> && !Sendable<std::string_view>));
static_assert(!Sendable<std::string> && !Sendable<std::unique_ptr<int>> && !Sendable<WithTable>);
// No field has this width.
static_assert(!Sendable<double> && !Sendable<long double> && !Sendable<double[2]>);
static_assert(!Sendable<std::int64_t> && !Sendable<std::uint64_t> && !Sendable<Wide>);
static_assert(!Sendable<std::uint8_t> && !Sendable<char> && !Sendable<short> && !Sendable<Narrow>);
static_assert(!Sendable<char[8]> && !Sendable<std::array<char, 8>> && !Sendable<ThreeBytes>);
static_assert(!Sendable<WithDouble> && !Sendable<WithCopy>);
static_assert(!Sendable<std::array<std::uint32_t, 0>>);
// Which bytes would be sent for these?
static_assert(!Sendable<bool> && !Sendable<std::array<bool, 4>> && !Sendable<bool[4]>);
static_assert(!Sendable<std::array<Byte, 4>> && !Sendable<Byte[4]> && !Sendable<Text[2]>);

/// The bytes of a request, behind the function id.
template <typename... Fields>
std::array<std::uint8_t, 160> bytesOf(const Fields&... fields) {
    std::array<std::uint8_t, 160> bytes{};
    const auto request = sent(fields...);
    EXPECT_LE(request.size, bytes.size());
    request.fill(bytes.data(), &request.forms);
    return bytes;
}

TEST(SettingRequest, HasItsFieldsOneAfterTheOther) {
    const std::uint32_t words[2] = {0x05060708, 0x090a0b0c};
    const auto bytes =
        bytesOf(Byte{1}, 0x01020304, Text{"ab"}, Words{2, 1.0F}, words, Text{"cdef", 3}, 1.0F);
    std::array<std::uint8_t, 160> expected = {1, 0, 0, 0, 4, 3, 2, 1, 'a', 'b'};
    const std::uint8_t behind[] = {2, 0, 0,  0,  0,  0, 0x80, 0x3f, 8,  7,
                                   6, 5, 12, 11, 10, 9, 'c',  'd',  'e'};
    std::copy(std::begin(behind), std::end(behind), expected.begin() + 72);
    expected[72 + 16 + 64 + 2] = 0x80;
    expected[72 + 16 + 64 + 3] = 0x3f;
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(sent(Byte{1}, 2, Text{"ab"}, Words{}, words).size, 4U + 4 + 4 + 64 + 8 + 8);
    EXPECT_EQ(sent().size, 4U);
}

}  // namespace
}  // namespace cabinaudio::setting
