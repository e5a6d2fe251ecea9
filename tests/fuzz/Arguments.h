// SPDX-License-Identifier: Apache-2.0
//
// Arguments of operations by the types of their parameters.
#pragma once

#include <cabinaudio/QVAudioSetting.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace cabinaudio::fuzz {

inline void demandName(const std::string& name) {
    demand(name.size() <= 64 && std::strlen(name.c_str()) == name.size(),
           "a name ends with its field");
}

/// A number, an enumerator or a flag. get() is the argument, check() looks at results.
template <typename Parameter>
class Argument {
public:
    explicit Argument(Input& in) : mValue(valueOf(in)) {}
    [[nodiscard]] Parameter get() const { return mValue; }
    void check() const {}

private:
    static Parameter valueOf(Input& in) {
        if constexpr (std::is_same_v<Parameter, bool>)
            return in.flag();
        else if constexpr (std::is_same_v<Parameter, float>)
            return in.gain();
        else if constexpr (std::is_same_v<Parameter, unsigned char>)
            return in.step();
        else if constexpr (std::is_enum_v<Parameter>)
            return in.enumerator<Parameter>();
        else
            return static_cast<Parameter>(in.integer());
    }

    Parameter mValue;
};

/// A tag or another text, now and then null.
template <>
class Argument<const char*> {
public:
    explicit Argument(Input& in) : mText(in.orNull(in.name())) {}
    [[nodiscard]] const char* get() const { return mText; }
    void check() const {}

private:
    const char* mText;
};

/// Any bits of a record, but gains of the mixer mostly within their range.
template <typename Record>
Record recordOf(Input& in) {
    return in.number<Record>();
}
template <>
inline audio::audio_mixer_gain_t recordOf(Input& in) {
    audio::audio_mixer_gain_t steps{in.number<std::uint32_t>(), {}};
    for (std::uint8_t& step : steps.gain)
        step = in.step(100);
    return steps;
}
template <>
inline audio::audio_mixer_matrix_t recordOf(Input& in) {
    audio::audio_mixer_matrix_t matrix{in.number<std::uint32_t>(), {}};
    for (float& gain : matrix.gain)
        gain = in.gain(-103.5F, 0);
    return matrix;
}

/// A record or the place of a result, at the end of its heap block, or null.
template <typename Pointee>
class Argument<Pointee*> {
public:
    explicit Argument(Input& in) : mBlock(std::make_unique<Pointee[]>(ROOM)) {
        mBlock[0] = recordOf<Pointee>(in);
        mPointer = in.orNull(mBlock.get());
    }
    [[nodiscard]] Pointee* get() const { return mPointer; }
    void check() const {}

private:
    /// An operation stores one object, but two halves of a word, or a list of tracks.
    static constexpr std::size_t ROOM =
        std::is_same_v<Pointee, short>                                 ? 2
        : std::is_same_v<Pointee, audio::audio_output_src_parameter_t> ? 20
                                                                       : 1;
    std::unique_ptr<Pointee[]> mBlock;
    Pointee* mPointer = nullptr;
};

/// A record that is only declared belongs to an operation without effect.
template <typename Pointee>
requires(!requires { sizeof(Pointee); }) class Argument<Pointee*> {
public:
    explicit Argument(Input&) {}
    [[nodiscard]] Pointee* get() const { return nullptr; }
    void check() const {}
};

/// The place of a result.
template <typename Result>
class Argument<Result&> {
public:
    explicit Argument(Input&) : mResult(std::make_unique<Result>()) {}
    [[nodiscard]] Result& get() const { return *mResult; }
    void check() const {
        if constexpr (std::is_same_v<Result, std::string>) demandName(*mResult);
    }

private:
    std::unique_ptr<Result> mResult;
};

/// A list of results.
template <typename Element>
class Argument<std::vector<Element>&> {
public:
    explicit Argument(Input&) {}
    [[nodiscard]] std::vector<Element>& get() { return mList; }
    void check() const {
        demand(mList.size() <= MOST, "a list has no more elements than the reply");
        if constexpr (std::is_same_v<Element, std::string>)
            for (const std::string& name : mList)
                demandName(name);
    }

private:
    static constexpr std::size_t MOST =
        std::is_same_v<Element, audio::audio_output_src_parameter_t> ? 20 : 32;
    std::vector<Element> mList;
};

/// A parameter block of 0 to 255 bytes of data, at the end of its heap block.
template <>
class Argument<audio::effect_param_t&> {
public:
    explicit Argument(Input& in) {
        const std::uint32_t size = in.byte();
        mBlock = std::make_unique<std::uint8_t[]>(sizeof size + size);
        std::memcpy(mBlock.get(), &size, sizeof size);
        for (std::uint32_t i = 0; i < size; ++i)
            mBlock[sizeof size + i] = static_cast<std::uint8_t>(i);
    }
    [[nodiscard]] audio::effect_param_t& get() const {
        return *reinterpret_cast<audio::effect_param_t*>(mBlock.get());
    }
    void check() const {}

private:
    std::unique_ptr<std::uint8_t[]> mBlock;
};
template <>
class Argument<const audio::effect_param_t&> : public Argument<audio::effect_param_t&> {
    using Argument<audio::effect_param_t&>::Argument;
};

}  // namespace cabinaudio::fuzz
