// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <list>
#include <memory>
#include <vector>

namespace cabinaudio::fuzz {

using Bytes = std::vector<std::uint8_t>;

template <typename Record>
void append(Bytes& to, const Record& record) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&record);
    to.insert(to.end(), bytes, bytes + sizeof record);
}

/// Arguments and replies out of one piece of arbitrary bytes. Bytes beyond its end read as 0.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : mAt(data), mEnd(data + size) {}

    [[nodiscard]] bool empty() const { return mAt == mEnd; }

    template <typename Number>
    Number number() {
        Number value{};
        const auto left = static_cast<std::size_t>(mEnd - mAt);
        const std::size_t taken = left < sizeof value ? left : sizeof value;
        if (taken != 0) std::memcpy(&value, mAt, taken);
        mAt += taken;
        return value;
    }
    std::uint8_t byte() { return number<std::uint8_t>(); }
    bool flag() { return byte() % 2 != 0; }

    /// Mostly small, of either sign.
    std::int32_t integer() {
        const std::uint8_t choice = byte();
        if (choice < 128) return number<std::int8_t>();
        return choice < 192 ? number<std::uint16_t>() : number<std::int32_t>();
    }

    /// Mostly near the enumerators that exist.
    template <typename Enumeration>
    Enumeration enumerator() {
        const std::uint8_t choice = byte();
        return static_cast<Enumeration>(choice < 192 ? choice % 16 - 4 : number<std::int32_t>());
    }

    /// Mostly within a range of dB, now and then any bits: infinities, none, tiny numbers.
    float gain(float low = -103.5F, float high = 24.0F) {
        const std::uint8_t choice = byte();
        if (choice < 224) return low + (high - low) * static_cast<float>(choice) / 223;
        return number<float>();
    }

    /// Mostly at most `most`.
    std::uint8_t step(std::uint8_t most = 148) {
        const std::uint8_t choice = byte();
        return choice < 224 ? static_cast<std::uint8_t>(choice % (most + 1)) : byte();
    }

    /// Now and then null instead of the pointer.
    template <typename Pointee>
    Pointee* orNull(Pointee* pointer) {
        return byte() % 16 == 15 ? nullptr : pointer;
    }

    /// 0 to 99 characters in a heap block that ends with them, so that no byte behind is read
    /// unnoticed.
    const char* text() {
        const std::size_t length = byte() % 100;
        auto& block = mTexts.emplace_back(std::make_unique<char[]>(length + 1));
        for (std::size_t i = 0; i < length; ++i) {
            const auto character = static_cast<char>(byte());
            block[i] = character != '\0' ? character : '.';
        }
        return block.get();
    }

    /// Mostly a tag that some operation takes.
    const char* name() {
        constexpr const char* TAGS[] = {"main", "alternative", "auxiliary", "second", "uplink", ""};
        const std::uint8_t choice = byte();
        return choice < 192 ? TAGS[choice % std::size(TAGS)] : text();
    }

private:
    const std::uint8_t* mAt;
    const std::uint8_t* mEnd;
    std::list<std::unique_ptr<char[]>> mTexts;
};

}  // namespace cabinaudio::fuzz
