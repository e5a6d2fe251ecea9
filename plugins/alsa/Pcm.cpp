// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Pcm.h"

#include "plugins/alsa/ChannelMaps.h"
#include "plugins/alsa/Guarded.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace cabinaudio::alsa {

namespace {

using plugin::Lock;
using plugin::PumpState;

constexpr unsigned LOWEST_RATE = 8000;
constexpr unsigned HIGHEST_RATE = 192000;
constexpr std::array<unsigned, 4> FORMATS = {SND_PCM_FORMAT_U8, SND_PCM_FORMAT_S16_LE,
                                             SND_PCM_FORMAT_S24_3LE, SND_PCM_FORMAT_S32_LE};
constexpr std::array<unsigned, 2> ACCESSES = {SND_PCM_ACCESS_MMAP_INTERLEAVED,
                                              SND_PCM_ACCESS_RW_INTERLEAVED};
constexpr unsigned SMALLEST_PERIOD = 512;  // bytes
// Bytes. Many programs take the largest buffer, which then is their latency: 2.7 s of the usual
// format, and still 0.1 s of the largest one.
constexpr unsigned LARGEST_BUFFER = 512 * 1024;
constexpr unsigned FEWEST_PERIODS = 2;
constexpr unsigned MOST_PERIODS = 64;
/// alsa-lib's value of `nonblock` when another thread or a signal handler aborts a call.
constexpr int ABORTED = 2;

}  // namespace

Pcm::Pcm(PcmConfig config, snd_pcm_stream_t direction)
    : mConfig(std::move(config)), mDirection(direction), mProcess(getpid()) {}

bool Pcm::isOurs() const {
    return getpid() == mProcess;
}

// ---- Parameters ---------------------------------------------------------------------------------

int Pcm::limitParameters() {
    struct Range {
        int type;
        unsigned least;
        unsigned most;
    };
    constexpr std::array<Range, 5> RANGES = {{
        {SND_PCM_IOPLUG_HW_CHANNELS, 1, MOST_CHANNELS},
        {SND_PCM_IOPLUG_HW_RATE, LOWEST_RATE, HIGHEST_RATE},
        {SND_PCM_IOPLUG_HW_PERIOD_BYTES, SMALLEST_PERIOD, LARGEST_BUFFER / FEWEST_PERIODS},
        {SND_PCM_IOPLUG_HW_BUFFER_BYTES, SMALLEST_PERIOD * FEWEST_PERIODS, LARGEST_BUFFER},
        {SND_PCM_IOPLUG_HW_PERIODS, FEWEST_PERIODS, MOST_PERIODS},
    }};
    for (const Range& range : RANGES) {
        const int error =
            snd_pcm_ioplug_set_param_minmax(&mIo, range.type, range.least, range.most);
        if (error < 0) return error;
    }
    const int error = snd_pcm_ioplug_set_param_list(&mIo, SND_PCM_IOPLUG_HW_ACCESS, ACCESSES.size(),
                                                    ACCESSES.data());
    if (error < 0) return error;
    return snd_pcm_ioplug_set_param_list(&mIo, SND_PCM_IOPLUG_HW_FORMAT, FORMATS.size(),
                                         FORMATS.data());
}

plugin::StreamRequest Pcm::request() const {
    plugin::StreamRequest request;
    request.name = mName->text();
    request.tag = mConfig.tag;
    request.format = plugin::pcmFormat(
        mIo.rate, mIo.channels, static_cast<unsigned>(snd_pcm_format_physical_width(mIo.format)));
    request.param = mConfig.streamParam;
    return request;
}

/// The parameters are set, perhaps not for the first time.
int Pcm::setUp() {
    if (!isOurs()) return -ENODEV;
    release();
    mName = std::make_unique<plugin::StreamName>("alsa", mConfig.name);
    const auto make = isPlayback() ? makePlaybackFlow : makeCaptureFlow;
    const int error = make(request(), mIo.buffer_size, mReady, mFlow);
    if (error == -EACCES)
        SNDERR("the sound's memory is not accessible: other user's server, or no board");
    return error;
}

void Pcm::release() {
    if (!isOurs()) return;
    mFlow.reset();
    mName.reset();
    mReady.become(true);
}

int Pcm::readLimits() {
    snd_pcm_sw_params_t* parameters = nullptr;
    snd_pcm_sw_params_alloca(&parameters);
    const int error = snd_pcm_sw_params_current(mIo.pcm, parameters);
    return error < 0 ? error : readLimits(parameters);
}

int Pcm::readLimits(snd_pcm_sw_params_t* parameters) {
    if (!isOurs() || mFlow == nullptr) return -ENODEV;
    snd_pcm_uframes_t wake = 1;
    snd_pcm_uframes_t stop = 0;
    snd_pcm_sw_params_get_boundary(parameters, &mBoundary);
    snd_pcm_sw_params_get_avail_min(parameters, &wake);
    snd_pcm_sw_params_get_stop_threshold(parameters, &stop);
    mFlow->setLimits(wake, stop < mBoundary);
    return 0;
}

// ---- Operation ----------------------------------------------------------------------------------

int Pcm::prepare() {
    if (const int error = readLimits(); error < 0) return error;
    const Lock lock(mLock);
    mApplication = 0;
    mPosition = 0;
    return mFlow->prepare();
}

/// alsa-lib wraps the application's pointer at the boundary, and does not report rewinding.
void Pcm::followApplication() {
    const Lock lock(mLock);
    if (mBoundary == 0) return;
    const auto known = static_cast<snd_pcm_sframes_t>(mApplication % mBoundary);
    auto moved = static_cast<snd_pcm_sframes_t>(mIo.appl_ptr) - known;
    const auto whole = static_cast<snd_pcm_sframes_t>(mBoundary);
    if (moved > whole / 2) moved -= whole;
    if (moved < -whole / 2) moved += whole;
    mFlow->moveApplication(moved);
    mApplication += static_cast<std::uint64_t>(static_cast<std::int64_t>(moved));
}

snd_pcm_sframes_t Pcm::pointer() {
    if (!isOurs()) {
        disconnect();
    } else if (mFlow != nullptr && mBoundary != 0) {
        followApplication();
        mPosition = mFlow->position();
        const PumpState state = mFlow->state();
        if (state == PumpState::Broken) return -EPIPE;
        if (state == PumpState::Lost) disconnect();
    }
    return static_cast<snd_pcm_sframes_t>(mBoundary == 0 ? 0 : mPosition % mBoundary);
}

/// An error of pointer() would become an underrun, from which applications recover again and again.
void Pcm::disconnect() {
    snd_pcm_ioplug_set_state(&mIo, SND_PCM_STATE_DISCONNECTED);
}

int Pcm::delay(snd_pcm_sframes_t& frames) {
    frames = 0;
    if (!isOurs()) return -ENODEV;
    if (mFlow == nullptr) return 0;
    followApplication();
    const PumpState state = mFlow->state();
    if (state == PumpState::Lost) return -ENODEV;
    if (state == PumpState::Broken) return -EPIPE;
    frames = static_cast<snd_pcm_sframes_t>(mFlow->delay());
    return 0;
}

snd_pcm_sframes_t Pcm::transfer(const snd_pcm_channel_area_t& area, snd_pcm_uframes_t offset,
                                snd_pcm_uframes_t frames) {
    if (!isOurs() || mFlow == nullptr) return -ENODEV;
    followApplication();
    auto* const data =
        static_cast<unsigned char*>(area.addr) + (area.first + offset * area.step) / 8;
    if (mFlow->transfer(data, frames)) {
        const Lock lock(mLock);
        mApplication += frames;
    }
    return static_cast<snd_pcm_sframes_t>(frames);
}

/// A refused drain leaves the state as it is: the application may wait for the end by polling.
int Pcm::drain() {
    if (!isOurs() || mFlow == nullptr) return -ENODEV;
    followApplication();
    if (const int error = mFlow->beginDrain(); error != 0) return error;
    if (mIo.nonblock == 1 && mFlow->state() == PumpState::Draining) return -EAGAIN;
    return mFlow->waitForDrain([this] { return mIo.nonblock == ABORTED; });
}

int Pcm::pollEvents(unsigned short& events) {
    events = 0;
    if (!isOurs() || (mFlow != nullptr && mFlow->state() == PumpState::Lost)) {
        disconnect();
        events = POLLERR | POLLHUP;
        return -ENODEV;
    }
    // Of a playback another thread may be between a transfer and the move of its pointer:
    // alsa-lib's lock is not held here.
    if (mFlow != nullptr && !isPlayback()) followApplication();
    if (mFlow == nullptr || mFlow->checkReady()) events = isPlayback() ? POLLOUT : POLLIN;
    return 0;
}

void Pcm::dump(snd_output_t* out) {
    snd_output_printf(out, "Cabin audio server, tag %s\n", AudioTypes::getTag(mConfig.tag).c_str());
    if (mName != nullptr) snd_output_printf(out, "Stream %s\n", mName->text());
    if (mIo.state < SND_PCM_STATE_SETUP) return;
    snd_output_printf(out, "Its setup is:\n");
    snd_pcm_dump_setup(mIo.pcm, out);
}

// ---- Callbacks of alsa-lib ----------------------------------------------------------------------

struct Pcm::Callbacks {
    static Pcm& of(snd_pcm_ioplug_t* io) { return *static_cast<Pcm*>(io->private_data); }

    /// Requests to the stream of another process would disturb it.
    template <typename Function>
    static int request(snd_pcm_ioplug_t* io, const Function& function) noexcept {
        Pcm& pcm = of(io);
        if (!pcm.isOurs()) return -ENODEV;
        if (pcm.mFlow == nullptr) return -EBADFD;
        return guarded([&] { return function(*pcm.mFlow); });
    }

    static int start(snd_pcm_ioplug_t* io) noexcept {
        return request(io, [](Flow& flow) { return flow.start(); });
    }
    static int stop(snd_pcm_ioplug_t* io) noexcept {
        return request(io, [](Flow& flow) { return flow.stop(); });
    }
    static int pause(snd_pcm_ioplug_t* io, int enable) noexcept {
        return request(io, [enable](Flow& flow) { return flow.pause(enable != 0); });
    }
    static snd_pcm_sframes_t pointer(snd_pcm_ioplug_t* io) noexcept { return of(io).pointer(); }
    static snd_pcm_sframes_t transfer(snd_pcm_ioplug_t* io, const snd_pcm_channel_area_t* areas,
                                      snd_pcm_uframes_t offset, snd_pcm_uframes_t size) noexcept {
        return of(io).transfer(areas[0], offset, size);
    }
    static int setUp(snd_pcm_ioplug_t* io, snd_pcm_hw_params_t* /*parameters*/) noexcept {
        return guarded([io] { return of(io).setUp(); });
    }
    static int release(snd_pcm_ioplug_t* io) noexcept {
        return guarded([io] {
            of(io).release();
            return 0;
        });
    }
    static int readLimits(snd_pcm_ioplug_t* io, snd_pcm_sw_params_t* parameters) noexcept {
        return of(io).readLimits(parameters);
    }
    static int prepare(snd_pcm_ioplug_t* io) noexcept {
        return guarded([io] { return of(io).prepare(); });
    }
    static int drain(snd_pcm_ioplug_t* io) noexcept {
        return guarded([io] { return of(io).drain(); });
    }
    static int delay(snd_pcm_ioplug_t* io, snd_pcm_sframes_t* frames) noexcept {
        return of(io).delay(*frames);
    }
    static int pollEvents(snd_pcm_ioplug_t* io, pollfd* /*descriptors*/, unsigned /*count*/,
                          unsigned short* events) noexcept {
        return of(io).pollEvents(*events);
    }
    static snd_pcm_chmap_query_t** channelMaps(snd_pcm_ioplug_t* /*io*/) noexcept {
        return allChannelMaps();
    }
    static snd_pcm_chmap_t* currentMap(snd_pcm_ioplug_t* io) noexcept {
        return channelMap(io->channels);
    }
    static void dump(snd_pcm_ioplug_t* io, snd_output_t* out) noexcept {
        guarded([io, out] {
            of(io).dump(out);
            return 0;
        });
    }
    /// In the child of a fork, the memory stays: its parts belong to threads that only the parent
    /// has.
    static int close(snd_pcm_ioplug_t* io) noexcept {
        Pcm* const pcm = &of(io);
        if (pcm->isOurs()) delete pcm;
        return 0;
    }

    static const snd_pcm_ioplug_callback_t* table() {
        static const snd_pcm_ioplug_callback_t callbacks = [] {
            snd_pcm_ioplug_callback_t table = {};
            table.start = start;
            table.stop = stop;
            table.pointer = pointer;
            table.transfer = transfer;
            table.close = close;
            table.hw_params = setUp;
            table.hw_free = release;
            table.sw_params = readLimits;
            table.prepare = prepare;
            table.drain = drain;
            table.pause = pause;
            table.poll_revents = pollEvents;
            table.dump = dump;
            table.delay = delay;
            table.query_chmaps = channelMaps;
            table.get_chmap = currentMap;
            return table;
        }();
        return &callbacks;
    }
};

int Pcm::create(const char* name, int mode) {
    if (mReady.descriptor() < 0) return -EMFILE;
    mReady.become(true);
    mIo.version = SND_PCM_IOPLUG_VERSION;
    mIo.name = "Cabin audio server";
    mIo.flags = SND_PCM_IOPLUG_FLAG_MONOTONIC | SND_PCM_IOPLUG_FLAG_BOUNDARY_WA;
    mIo.poll_fd = mReady.descriptor();
    mIo.poll_events = POLLIN;
    mIo.mmap_rw = 0;
    mIo.nonblock = (mode & SND_PCM_NONBLOCK) != 0 ? 1 : 0;
    mIo.callback = Callbacks::table();
    mIo.private_data = this;
    return snd_pcm_ioplug_create(&mIo, name, mDirection, mode);
}

}  // namespace cabinaudio::alsa
