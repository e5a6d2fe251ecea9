// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Decoders.h"

namespace cabinaudio::test {

struct AacDecoding::State {};

bool AacDecoding::exists() {
    return false;
}

AacDecoding::AacDecoding() = default;
AacDecoding::~AacDecoding() = default;

std::vector<std::int16_t> AacDecoding::decode(const Bytes&) {
    return {};
}

unsigned AacDecoding::rate() const {
    return 0;
}

}  // namespace cabinaudio::test
