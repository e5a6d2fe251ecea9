// SPDX-License-Identifier: Apache-2.0
//
// Fields of requests and results of replies, as far as a row can have them.
#include <cabinaudio/QVAudioSettingTypes.h>

#include "client/Setting.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

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
class WithTwoAccesses {
public:
    std::uint32_t first;

private:
    [[maybe_unused]] std::uint32_t mSecond;
};

static_assert(Number<int> && Number<unsigned> && Number<Word>);
static_assert(Number<audio::audio_channel_idx_e>);
static_assert(!Number<float> && !Number<std::uint8_t> && !Number<bool> && !Number<std::int64_t>);
static_assert(!Number<const char*> && !Number<void*> && !Number<Wide> && !Number<Narrow>);

static_assert(WordRecord<Words> && WordRecord<audio::audio_mixer_matrix_t>);
static_assert(WordRecord<audio::audio_ext_eq_parameter_t>);
// An address means nothing to the server.
static_assert(sizeof(void*) == 4 || !WordRecord<WithPointer>);
static_assert(!WordRecord<const char*> && !WordRecord<std::string>);
// No field has this width.
static_assert(!WordRecord<ThreeBytes> && !WordRecord<WithDouble>);
// The bytes of an object are not its value.
static_assert(!WordRecord<WithCopy> && !WordRecord<WithTable> && !WordRecord<WithTwoAccesses>);

static_assert(Storable<float> && Storable<std::uint8_t> && Storable<int> && Storable<Word>);
static_assert(Storable<Words>);
// The byte of a flag is any number in a reply.
static_assert(!Storable<bool> && !Storable<char> && !Storable<short> && !Storable<double>);
static_assert(!Storable<char*> && !Storable<std::string> && !Storable<WithDouble>);

static_assert(ARE_FIELDS_OF<wire::StepReply, std::uint8_t>);
static_assert(ARE_FIELDS_OF<wire::GainReply, float>);
static_assert(ARE_FIELDS_OF<wire::NumberReply, std::int32_t>);
static_assert(ARE_FIELDS_OF<wire::NumberReply, std::uint32_t>);
static_assert(ARE_FIELDS_OF<wire::NumberReply, Word>);
static_assert(ARE_FIELDS_OF<wire::CalibrationReply, float, int>);
static_assert(ARE_FIELDS_OF<wire::LevelsReply, audio::audio_eq_spectrum_t>);
static_assert(ARE_FIELDS_OF<wire::EqualizerReply, audio::audio_ext_eq_parameter_t>);
static_assert(!ARE_FIELDS_OF<wire::GainReply, int>);
static_assert(!ARE_FIELDS_OF<wire::NumberReply, float>);
static_assert(!ARE_FIELDS_OF<wire::GainReply, std::uint8_t>);
static_assert(!ARE_FIELDS_OF<wire::CalibrationReply, int, float>);
static_assert(!ARE_FIELDS_OF<wire::CalibrationReply, float>);
static_assert(!ARE_FIELDS_OF<wire::GainReply, float, float>);
static_assert(!ARE_FIELDS_OF<wire::GainReply>);
static_assert(!ARE_FIELDS_OF<wire::EqualizerReply, audio::audio_handsfree_eq_t>);

LogSite namedSite() {
    return here();
}

TEST(SettingSite, IsTheCallingFunctionOfThisSource) {
    EXPECT_STREQ(namedSite().function, "namedSite");
    EXPECT_STREQ(namedSite().file, "FieldsTest");
}

}  // namespace
}  // namespace cabinaudio::setting
