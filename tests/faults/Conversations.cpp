// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Conversations.h"

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioMemory.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/LinkPolicy.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/support/ConfigDirectory.h"
#include "tests/support/ProcessState.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/kinds/StreamKinds.h"
#include "wire/Settings.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned SIZE = RING_SIZE;
constexpr unsigned GET_VOLUME = 5;  // gives -1 when there is none
constexpr auto TIMEOUT = 1500ms;
constexpr auto LONG_WAIT = 20s;    // for what comes
constexpr auto SHORT_WAIT = 50ms;  // for what may not come, because something has failed

/// Whether an operation may give this.
bool isDocumented(int result) {
    constexpr int STATUSES[] = {AUDIO_NOT_CONNECTED, AUDIO_NO_MEMORY, AUDIO_TIMED_OUT,
                                AUDIO_BAD_SEQUENCE,  AUDIO_BAD_VALUE, AUDIO_INVALID_OPERATION,
                                AUDIO_INVALID_STATE};
    return result >= 0 ||
           std::find(std::begin(STATUSES), std::end(STATUSES), result) != std::end(STATUSES);
}

/// One conversation under way.
class Talk {
public:
    Talk(Record& record, const Fault& fault, bool hasPolicy) : mRecord(record), mFault(fault) {
        if (hasPolicy) setLinkPolicy({TIMEOUT, true, true});
    }

    /// Observes `body`. Its leftovers count, but not those of the server, made and removed by
    /// `begin` and `end`.
    template <typename Body>
    void observe(
        Body body, const std::function<void()>& begin = [] {},
        const std::function<void()>& end = [] {}) {
        (void)physicalRing("str", SIZE);  // the board's descriptor stays
        const ProcessState before = ProcessState::now();
        begin();
        arm(mRecord, mFault);
        try {
            body();
        } catch (...) {
            disarm();
            say("an exception has left the library");
        }
        disarm();
        end();
        if (!givesBack(before)) say("something was not given back");
    }

    void check(const char* operation, int result) {
        if (isDocumented(result)) return;
        const Exempt exempt;
        say(operation + (" gave " + std::to_string(result)));
    }
    void check(bool holds, const char* what) {
        if (!holds) say(what);
    }

    /// Waits for an act of a library thread; not for long once a call has failed.
    template <typename Condition>
    void await(Condition condition) {
        const Exempt exempt;
        const bool hasCome =
            eventually([&] { return condition() || mRecord.failures != 0; }, LONG_WAIT);
        if (!hasCome && mFault.occurrence == Fault::NEVER)
            say("nothing fails, and it does not come");
        (void)eventually(condition, SHORT_WAIT);
    }

    [[nodiscard]] const std::string& verdict() const { return mVerdict; }

private:
    void say(const std::string& what) {
        const Exempt exempt;
        mVerdict += (mVerdict.empty() ? "" : "; ") + what;
    }

    /// Mappings and names that could not be given back are the fault's, not the library's.
    bool givesBack(const ProcessState& before) {
        const bool mayLeak =
            mRecord.failures != 0 && faultyFunctions()[mFault.site.function].mayLeak;
        const bool isBack = eventually([&] {
            ProcessState now = ProcessState::now();
            if (mayLeak) now.sharedMappings = before.sharedMappings;
            return now == before;
        });
        if (!isBack) {
            const ProcessState now = ProcessState::now();
            say("threads " + std::to_string(before.threads) + "->" + std::to_string(now.threads) +
                ", descriptors " + std::to_string(before.descriptors) + "->" +
                std::to_string(now.descriptors) + ", mappings " +
                std::to_string(before.sharedMappings) + "->" + std::to_string(now.sharedMappings) +
                ", names " + std::to_string(before.shmNames.size()) + "->" +
                std::to_string(now.shmNames.size()));
        }
        return isBack;
    }

    Record& mRecord;
    const Fault& mFault;
    std::string mVerdict;
};

// ---- Streams ------------------------------------------------------------------------------------

/// A server that serves a stream called "str".
struct StreamServer {
    explicit StreamServer(const StreamKind& kind) : ring(kind) {
        onCreate(server, created());
        onPlace(server, [this](const Request&) {
            ++timesAsked;
            return ring.place();
        });
    }

    void notify(std::uint32_t event, std::uint32_t param) {
        const Exempt exempt;
        if (server.clients() > 0) server.notify(event, param);
    }
    /// Gives a reader bytes, or takes those that were written.
    void move() {
        const Exempt exempt;
        ring.move(SIZE / 2);
    }

    ServedRing ring;
    std::atomic<int> timesAsked{0};  // where the ring lies
    ScriptedServer server;           // last: its thread uses all of the above
};

void useStream(Talk& talk, AnyStream& stream, const StreamKind& kind, StreamServer& peer) {
    unsigned char data[SIZE] = {};
    talk.check("initCheck", stream.initCheck());
    talk.check("start", stream.start());
    if (!kind.isPosix) {
        peer.notify(kind.event, 1);
        talk.await([&] { return stream.getTotalBufferSize() != 0; });
    }
    for (int i = 0; i < 3; ++i) {
        peer.move();
        const int moved = stream.move(data, 1024, true);
        talk.check("move", moved);
        talk.check(moved <= 1024, "more than asked for");
    }
    for (unsigned which = 0; which < 10; ++which)
        if (const int result = stream.operate(which, data); which != GET_VOLUME || result != -1)
            talk.check("an operation", result);
    if (!kind.isPosix) {
        peer.notify(kind.event, 0);
        // A playback stream takes this for another announcement, and the next operation waits for
        // its lock.
        if (kind.writes) talk.await([&] { return peer.timesAsked >= 2; });
        talk.check("move", stream.move(data, 512, false));
    }
    talk.check("stop", stream.stop());
}

void stream(Talk& talk, const StreamKind& kind) {
    StreamServer peer(kind);
    talk.observe(
        [&] {
            const std::unique_ptr<AnyStream> stream = kind.create("str", MUSIC);
            useStream(talk, *stream, kind, peer);
        },
        [&peer] { peer.ring.begin(); }, [&peer] { peer.ring.end(); });
}

/// A record whose bytes go into a file as well.
void dumpedRecord(Talk& talk) {
    const ConfigDirectory directory;
    {
        AudioConfig config(false);
        AudioDumpItem item = {"input0", "client", ""};
        std::snprintf(item.outPath, sizeof item.outPath, "%s", directory.top().c_str());
        config.addDumpItem(item);
    }
    stream(talk, streamKind("record"));
}

// ---- Settings -----------------------------------------------------------------------------------

Answer listOf(std::size_t slots) {
    Bytes body(8 + slots, 'x');
    std::fill(body.begin(), body.begin() + 8, static_cast<std::uint8_t>(0));
    body[4] = 20;  // of them
    return Answer::bytes(body);
}

template <typename Slot, std::uint32_t SLOTS>
Answer listFor() {
    return listOf(sizeof(wire::List<Slot, SLOTS>::slots));
}

void useSources(Talk& talk) {
    ClientSourceSetting sources;
    talk.check("setOutPutSource", sources.setOutPutSource("main", "tuner"));
    (void)sources.getOutPutSource("main");
    std::vector<std::string> names;
    talk.check("getActiveTracksName", sources.getActiveTracksName("main", names));
    std::string type;
    talk.check("getTrackStreamType", sources.getTrackStreamType("main", "track", type));
    std::vector<audio::audio_track_info_t> tracks;
    talk.check("getActiveTracksInfo", sources.getActiveTracksInfo(tracks));
    std::vector<audio::audio_output_src_parameter_t> outputs;
    talk.check(
        "getOutPutTrackInfoList",
        sources.getOutPutTrackInfoList(static_cast<audio::audio_output_src_tag_e>(1), outputs));
    talk.check("setAlterLatency", sources.setAlterLatency(10));
}

void useVolumes(Talk& talk) {
    ClientVolumeSetting volumes;
    unsigned char volume = 0;
    talk.check("setMasterVolume", volumes.setMasterVolume(static_cast<unsigned char>(50)));
    talk.check("getMasterVolume", volumes.getMasterVolume(&volume));
    talk.check("mute", volumes.mute("main", true));
    bool muted = false;
    talk.check("getMuteState", volumes.getMuteState("main", muted));
    std::vector<std::string> types;
    talk.check("getStreamTypeList", volumes.getStreamTypeList(types));
}

void useOtherSettings(Talk& talk) {
    unsigned mode = 0;
    ClientMixerSetting mixer;
    talk.check("setUpMixMode", mixer.setUpMixMode(1));
    talk.check("getUpMixMode", mixer.getUpMixMode(&mode));
    ClientAppSetting app;
    talk.check("setEffectEnabled", app.setEffectEnabled("main", "bass", true));
    bool on = false;
    talk.check("getEffectEnabled", app.getEffectEnabled("main", "bass", on));
    ClientAudioRecordControl control;
    audio::effect_param_t nothing = {0};
    talk.check("set", control.set("input0", "agc", nothing));
}

void useVersion(Talk& talk) {
    ClientVersionSetting version;
    int numbers[3] = {};
    talk.check("initCheck", version.initCheck());
    talk.check("getServerVersions", version.getServerVersions(numbers, numbers + 1, numbers + 2));
}

void settings(Talk& talk) {
    ScriptedServer server;
    constexpr std::uint32_t SOURCE = 130;
    constexpr std::uint32_t VOLUME = 131;
    using wire::SourceFunction;
    const auto on = [&server](auto type, auto function, const Answer& answer) {
        server.on(type, static_cast<std::uint32_t>(function), answer);
    };
    on(SOURCE, SourceFunction::GetActiveTrackNames, listFor<wire::Name, 32>());
    on(SOURCE, SourceFunction::GetActiveTracks, listFor<audio::audio_track_info_t, 32>());
    on(SOURCE, SourceFunction::GetTrackStreamType, Answer::bytes(Bytes(4 + 64, 'x')));
    on(SOURCE, SourceFunction::GetOutputTrackInfo,
       listFor<audio::audio_output_src_parameter_t, 20>());
    on(VOLUME, wire::VolumeFunction::GetStreamTypes, listFor<wire::Name, 32>());
    talk.observe([&talk] {
        useSources(talk);
        useVolumes(talk);
        useOtherSettings(talk);
        useVersion(talk);
    });
}

// ---- Servers that do not answer -----------------------------------------------------------------

void noServer(Talk& talk) {
    talk.observe([&talk] { useVersion(talk); });
}

void silentServer(Talk& talk) {
    ScriptedServer server;
    server.onOther(Answer::none());
    setLinkPolicy({SHORT_WAIT, true, true});
    talk.observe([&talk] { useVersion(talk); });
}

/// A request that another thread waits for ends with its connection.
void givingUp(Talk& talk) {
    ScriptedServer server;
    server.onOther(Answer::none());
    talk.observe([&talk, &server] {
        std::atomic<bool> isOver{false};
        auto call =
            std::make_unique<RemoteCall>(AUDIO_CONNECT_VERSION_SETTING, nullptr, nullptr, "call");
        int result = 0;
        std::thread requester;
        {
            const Exempt exempt;
            requester = std::thread([&] {
                result = call->callFuncId(1, false);
                isOver = true;
            });
            (void)eventually([&] { return isOver || !server.requests(1).empty(); });
        }
        RemoteCall* const gone = call.release();
        delete gone;
        const Exempt exempt;
        requester.join();
        talk.check("callFuncId", result);
    });
}

// ---- The rest -----------------------------------------------------------------------------------

void diagnostics(Talk& talk) {
    const ConfigDirectory directory;
    directory.write(
        "Dump\n tag=main\n usage=client\n outPath=/tmp\nTrace\n tag=main\n usage=client\n"
        " outPath=/tmp\nLog\n level=3\n enMark=1\n");
    const std::string path = directory.top() / "dump";
    unsigned char data[20'000] = {};
    talk.observe([&] {
        {
            AudioConfig config(false);
            AudioDumpItem dump = {"input0", "client", "/tmp"};
            AudioTraceItem trace = {"input0", "client", "/tmp"};
            config.addDumpItem(dump);
            config.addTraceItem(trace);
            config.removeDumpItem(dump);
        }
        {
            AudioDump dump(path.c_str(), "desc", false);
            dump.write(data, 100);
            dump.write(data, sizeof data);
        }
        AudioDump paused(AUDIO_TAG_MAIN, "name", "driver", false);
        paused.resume(true);
    });
}

/// Waits until it is told to end.
class Sleeper : public AudioThread {
public:
    Sleeper() : AudioThread("sleeper", -1, POLICY_RR) {}
    ~Sleeper() override {
        prepareStop();
        mEnd.signal();
        stop();
    }
    void run() override {
        while (running())
            (void)mEnd.waitRelative(1000);
    }

private:
    AudioSemaphore mEnd{false};
};

void foundation(Talk& talk) {
    talk.observe([&talk] {
        AudioNormalFree(AudioNormalRealloc(AudioNormalMalloc(10), 1000));
        Sleeper().start();
        AudioSemaphore semaphore(false);
        const int waited = semaphore.waitRelative(1);
        talk.check(waited == 1 || waited == -1, "a wait that nobody ends has ended");
        AudioTime::sleep(1000);
        (void)AudioTypes::getTag(AUDIO_TAG_INPUT_FRONT_FEEDBACK);
        (void)AudioTypes::getTag(audio::AUDIO_OUT_PATH_NONE);
    });
}

/// Counts a ring's updates.
class UpdateCounter : public ShareMemoryUpdateNotificationCallback {
public:
    void notify() override { ++calls; }
    std::atomic<unsigned> calls{0};
};

/// Both ends of rings of both kinds, in one process.
void rings(Talk& talk) {
    talk.observe([&talk] {
        UpdateCounter updates;
        for (const bool isPhysical : {false, true}) {
            const auto type = isPhysical ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM;
            const auto* const address = reinterpret_cast<const unsigned char*>(
                std::uintptr_t{isPhysical ? RING_ADDRESS : 0U});
            ShareMemoryEx writer(type, "ring", address, 1000, SHM_MODE_CREATOR, nullptr);
            ShareMemoryEx reader(type, "ring", address, 1000, SHM_MODE_READER, &updates);
            unsigned char bytes[100] = {1, 2, 3};
            for (int i = 0; i < 15; ++i) {
                const int put = writer.write(bytes, sizeof bytes);
                const int got = reader.read(bytes, sizeof bytes);
                talk.check(put >= 0 && put <= 100, "a write gave something odd");
                talk.check(got >= 0 && got <= 100, "a read gave something odd");
            }
            if (reader.isUsable()) talk.await([&updates] { return updates.calls != 0; });
            updates.calls = 0;
        }
    });
}

/// Waits for the server: all of them end under a policy, some may not, or there are none to end.
enum class Waits { Bounded, Unbounded, None };

Conversation conversation(const std::string& name, Waits waits,
                          const std::function<void(Talk&)>& use) {
    return {name, waits == Waits::Unbounded, [waits, use](Record& record, const Fault& fault) {
                Talk talk(record, fault, waits == Waits::Bounded);
                use(talk);
                return talk.verdict();
            }};
}

std::vector<Conversation> allConversations() {
    std::vector<Conversation> all;
    const auto addStreams = [&all](const std::string& ending, Waits waits) {
        for (const StreamKind& kind : streamKinds())
            all.push_back(conversation(kind.name + ending, waits,
                                       [&kind](Talk& talk) { stream(talk, kind); }));
    };
    addStreams("", Waits::Bounded);
    all.push_back(conversation("record with a dump", Waits::Bounded, dumpedRecord));
    all.push_back(conversation("settings", Waits::Bounded, settings));
    all.push_back(conversation("diagnostics", Waits::None, diagnostics));
    all.push_back(conversation("threads and memory", Waits::None, foundation));
    all.push_back(conversation("rings", Waits::None, rings));
    all.push_back(conversation("no server", Waits::None, noServer));
    all.push_back(conversation("silent server", Waits::None, silentServer));
    all.push_back(conversation("request that is given up", Waits::Bounded, givingUp));
    addStreams(" without a policy", Waits::Unbounded);
    all.push_back(conversation("settings without a policy", Waits::Unbounded, settings));
    return all;
}

}  // namespace

const std::vector<Conversation>& conversations() {
    static const std::vector<Conversation> all = allConversations();
    return all;
}

}  // namespace cabinaudio::test
