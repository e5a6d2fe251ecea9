// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/alsa/Sound.h"

#include <cstdint>

// The clients whose latency is measured, each in a process of its own. They write silence without a
// pause, period by period, and keep their buffer full. For each byte that arrives on standard input
// the next period has a mark, and a line on standard output has the time at which it was written,
// in ns, and the number of frames that were queued before it. They end with their input; the last
// line then has the number of underruns.

namespace cabinaudio::bench {

/// Through the PCM of the definitions in effect.
void writeMarksToPcm(const Buffer& buffer);
/// Through ClientTrack, without ALSA: no more than the ring, and a look at it every millisecond.
void writeMarksToTrack(const Buffer& buffer);
/// Plays silence through ClientTrack with blocking writes, a period of the server each.
void playToTrack(unsigned frames);

/// Whether a mark was asked for since the last call. @return false as well when input has ended
struct Orders {
    bool isOver = false;
    [[nodiscard]] bool take();
};
/// Says that a mark was written at this time, behind `queued` frames.
void reportMark(std::uint64_t ns, long queued);

}  // namespace cabinaudio::bench
