// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMark.h>

AudioMark::AutoMark::AutoMark(const char* /*file*/, const char* /*function*/,
                              std::uint32_t /*line*/) {}

AudioMark::AutoMark::~AutoMark() = default;

void AudioMark::mark(const char* /*file*/, const char* /*function*/) {}
