// SPDX-License-Identifier: Apache-2.0
#include "tools/play/SoundReader.h"

#include "tools/Failure.h"
#include "tools/play/InputBytes.h"
#include "tools/play/WavHeader.h"

#include <string_view>
#include <vector>

namespace cabinaudio::tool {

namespace {

std::unique_ptr<SoundReader> openWav(std::unique_ptr<InputBytes> input, const WavHeader& header) {
    std::vector<std::uint8_t> skipped(header.bytes);
    input->read(skipped);
    return openRaw(std::move(input), header.format, header.soundBytes);
}

}  // namespace

std::unique_ptr<SoundReader> openSound(std::unique_ptr<InputBytes> input) {
    constexpr std::size_t OGG_PAGE_HEADER = 28;  // with a single segment
    constexpr std::string_view OGG_FLAC =
        "\x7F"
        "FLAC";
    const InputBytes::Bytes bytes = input->peek(OGG_PAGE_HEADER + OGG_FLAC.size());
    const std::string_view head(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (head.empty()) throw Failure("is empty");
    if (head.starts_with("fLaC")) return openFlac(std::move(input), false);
    if (head.starts_with("OggS") && head.ends_with(OGG_FLAC))
        return openFlac(std::move(input), true);
    if (const auto header = wavHeaderOf(*input)) return openWav(std::move(input), *header);
    return openSndfile(std::move(input));
}

}  // namespace cabinaudio::tool
