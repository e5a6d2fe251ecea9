// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/alsa/Flow.h"
#include "plugins/alsa/PcmConfig.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/ReadyEvent.h"
#include "plugins/common/StreamName.h"

#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace cabinaudio::alsa {

/// A PCM of ALSA on a stream of the library. alsa-lib owns it: close() deletes it.
///
/// Between application and stream lies a buffer of the pump's. Frames reach it by the transfer
/// callback, for mapped access, too; so the application's memory is never read behind its back, and
/// frames that it rewinds over are replaced unless the stream has them already.
///
/// A process that has forked shares the server's connection with its child. In the child the PCM is
/// disconnected: nothing is sent, and nothing is released.
class Pcm {
public:
    Pcm(PcmConfig config, snd_pcm_stream_t direction);
    ~Pcm() = default;
    Pcm(const Pcm&) = delete;
    Pcm& operator=(const Pcm&) = delete;

    /// Makes it a PCM of alsa-lib. @return 0 or a negative error number
    int create(const char* name, int mode);
    /// Tells alsa-lib the possible parameters. @return 0 or a negative error number
    int limitParameters();
    [[nodiscard]] snd_pcm_t* handle() const { return mIo.pcm; }

private:
    struct Callbacks;
    friend struct Callbacks;

    [[nodiscard]] bool isOurs() const;
    [[nodiscard]] bool isPlayback() const { return mDirection == SND_PCM_STREAM_PLAYBACK; }
    [[nodiscard]] plugin::StreamRequest request() const;

    int setUp();
    void release();
    int readLimits();
    int readLimits(snd_pcm_sw_params_t* parameters);
    int prepare();
    int drain();
    snd_pcm_sframes_t pointer();
    int delay(snd_pcm_sframes_t& frames);
    snd_pcm_sframes_t transfer(const snd_pcm_channel_area_t& area, snd_pcm_uframes_t offset,
                               snd_pcm_uframes_t frames);
    int pollEvents(unsigned short& events);
    void followApplication() CABINAUDIO_EXCLUDES(mLock);
    void disconnect();
    void dump(snd_output_t* out);

    // Set at construction.
    const PcmConfig mConfig;
    const snd_pcm_stream_t mDirection;
    const pid_t mProcess;

    // Used by alsa-lib.
    snd_pcm_ioplug_t mIo = {};
    plugin::ReadyEvent mReady;

    // Set by setUp().
    std::unique_ptr<plugin::StreamName> mName;
    std::unique_ptr<Flow> mFlow;
    snd_pcm_uframes_t mBoundary = 0;

    // Has its own synchronization: the child of a fork must not touch the pump.
    std::atomic<std::uint64_t> mPosition{0};

    plugin::Mutex mLock;
    std::uint64_t mApplication CABINAUDIO_GUARDED_BY(mLock) = 0;  // its pointer, not wrapped
};

/// Opens a PCM by its definition; see alsa-lib's interface of external plug-ins.
int openPcm(snd_pcm_t** handle, const char* name, snd_config_t* root, snd_config_t* definition,
            snd_pcm_stream_t direction, int mode);

}  // namespace cabinaudio::alsa
