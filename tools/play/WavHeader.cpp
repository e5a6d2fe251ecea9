// SPDX-License-Identifier: Apache-2.0
#include "tools/play/WavHeader.h"

#include "tools/Failure.h"
#include "tools/play/InputBytes.h"

#include <string_view>

namespace cabinaudio::tool {

namespace {

using Samples = RawFormat::Samples;

constexpr std::size_t RIFF_HEADER = 12;
constexpr std::size_t CHUNK_HEADER = 8;
/// More than that before the samples is no sensible file; the header is kept in memory.
constexpr std::size_t LONGEST_HEADER = std::size_t{1} << 20;
/// Programs that cannot know the length write 0, or a number close to what the field can hold.
constexpr std::uint32_t UNKNOWN_LENGTH = 0x7ffff000;

/// A view of the header that grows as it is read.
class Head {
public:
    explicit Head(InputBytes& input) : mInput(input) {}

    /// @throws Failure when the input ends before `end`
    void need(std::size_t end) {
        if (end <= LONGEST_HEADER) mBytes = mInput.peek(end);
        if (mBytes.size() < end) throw Failure("ends within its header");
    }
    [[nodiscard]] std::string_view name(std::size_t at) const {
        return {reinterpret_cast<const char*>(mBytes.data()) + at, 4};
    }
    [[nodiscard]] std::uint32_t number(std::size_t at, std::size_t bytes) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value |= std::uint32_t{mBytes[at + i]} << (8 * i);
        return value;
    }

private:
    InputBytes& mInput;
    InputBytes::Bytes mBytes;
};

std::optional<Samples> samplesOf(std::uint32_t coding, std::uint32_t bits) {
    constexpr std::uint32_t PCM = 1;
    constexpr std::uint32_t FLOAT = 3;
    if (coding == PCM && bits == 8) return Samples::U8;
    if (coding == PCM && bits == 16) return Samples::S16;
    if (coding == PCM && bits == 24) return Samples::S24;
    if (coding == PCM && bits == 32) return Samples::S32;
    if (coding == FLOAT && bits == 32) return Samples::Float;
    if (coding == FLOAT && bits == 64) return Samples::Double;
    return std::nullopt;
}

/// @param at  of the chunk's contents. @return empty if the samples are coded
std::optional<RawFormat> formatOf(const Head& head, std::size_t at, std::size_t size) {
    constexpr std::uint32_t EXTENSIBLE = 0xfffe;
    constexpr std::size_t EXTENDED_SIZE = 40;
    std::uint32_t coding = head.number(at, 2);
    if (coding == EXTENSIBLE && size >= EXTENDED_SIZE) coding = head.number(at + 24, 2);
    const auto samples = samplesOf(coding, head.number(at + 14, 2));
    if (!samples) return std::nullopt;
    const RawFormat format{static_cast<int>(head.number(at + 4, 4) & 0x7fffffff),
                           static_cast<int>(head.number(at + 2, 2)), *samples};
    // Samples in wider containers are left to libsndfile.
    return head.number(at + 12, 2) == format.frameBytes() ? std::optional(format) : std::nullopt;
}

/// @param left    in the file from the samples on; empty for a pipe
/// @param size64  from another chunk
std::optional<std::uint64_t> lengthOf(std::uint32_t size, std::optional<std::uint64_t> left,
                                      std::optional<std::uint64_t> size64) {
    if (size == UINT32_MAX && size64) return size64;
    if (size != 0 && (size < UNKNOWN_LENGTH || size <= left.value_or(0))) return size;
    return std::nullopt;
}

}  // namespace

std::optional<WavHeader> wavHeaderOf(InputBytes& input) {
    constexpr std::size_t FORMAT_SIZE = 16;
    constexpr std::size_t SIZES_SIZE = 16;  // of RF64, up to the length of the samples
    Head head(input);
    if (input.peek(RIFF_HEADER).size() < RIFF_HEADER) return std::nullopt;
    head.need(RIFF_HEADER);
    const bool isWav = head.name(0) == "RIFF" || head.name(0) == "RF64";
    if (!isWav || head.name(8) != "WAVE") return std::nullopt;
    std::optional<RawFormat> format;
    std::optional<std::uint64_t> size64;
    for (std::size_t at = RIFF_HEADER;;) {
        head.need(at + CHUNK_HEADER);
        const std::uint32_t size = head.number(at + 4, 4);
        const std::size_t contents = at + CHUNK_HEADER;
        if (head.name(at) == "data") {
            if (!format) return std::nullopt;
            std::optional<std::uint64_t> left = input.left();
            if (left) *left -= contents;
            return WavHeader{*format, contents, lengthOf(size, left, size64)};
        }
        if (size > LONGEST_HEADER) throw Failure("has a header that is too long");
        head.need(contents + size);
        if (head.name(at) == "fmt " && size >= FORMAT_SIZE) format = formatOf(head, contents, size);
        if (head.name(at) == "ds64" && size >= SIZES_SIZE)
            size64 = head.number(contents + 8, 4) | std::uint64_t{head.number(contents + 12, 4)}
                                                        << 32;
        at = contents + size + size % 2;
    }
}

}  // namespace cabinaudio::tool
