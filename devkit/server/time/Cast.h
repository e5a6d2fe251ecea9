// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Activity.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "devkit/server/time/Agenda.h"
#include "devkit/server/time/TimeOptions.h"
#include "devkit/server/time/Waits.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The streams as seen by time that waits for them.
class Cast {
public:
    struct Part {
        std::size_t frames;  // of the output
        bool endsPeriod;     // captures record at its end
    };
    struct Readiness {
        std::size_t ready = 0;     // streams that take part and have what they need
        bool isAnyParked = false;  // a started stream takes no part before a later frame
        std::vector<Need> needs;
    };
    /// A stream was started, stopped or lost since the last look.
    struct Event {
        enum class Kind { Started, Stopped, Gone } kind;
        std::string name;
        bool isAudible;  // of others at that time: whether any is
    };

    Cast(const StreamRegistry& streams, const CaptureRegistry& captures, const TimeOptions& options)
        : mStreams(streams), mCaptures(captures), mOptions(options) {}

    /// Ends streams that are done, and decides which are early.
    /// @return what clients have done since the last call
    std::vector<Event> look(Agenda& agenda, std::uint64_t frame);
    /// Started streams, early ones included.
    [[nodiscard]] std::size_t started() const;
    [[nodiscard]] bool isStarted(const std::string& name) const;

    /// Who takes part in the next frames, and who must be waited for.
    /// @param wentOn  called for an alternative stream that writes again
    Readiness prepare(const Part& part, const std::function<void(const PlaybackStream&)>& wentOn);
    /// An alternative stream has not written for too long.
    void runDry(std::uint32_t handle);
    /// Records a period.
    void record();

    /// Begins to look whether all writers wait: see StreamRing::wakeWriter().
    void askWriters();
    /// Who may still change what is queued.
    [[nodiscard]] std::vector<Need> unsettled() const;
    /// Who may still write, of those whose writers have waited so far.
    [[nodiscard]] std::vector<Need> writing();
    /// This client's writer does not wait when its ring is full.
    void excuse(std::uint32_t handle) { mExcused.insert(handle); }
    /// Wakes all waiting clients, so that their waits begin anew.
    void wakeAll();

private:
    struct Seen {
        std::string name;
        std::uint32_t starts = 0;
        bool isAudible = false;
        bool isAdmitted = false;  // takes part since its last start
        bool isCapture = false;
        bool isThere = true;
        std::optional<Activity> activity;  // since an alternative stream writes nothing
        unsigned tails = 0;                // waits that began meanwhile
    };

    void prepare(PlaybackStream& stream, const Part& part, Readiness& readiness,
                 const std::function<void(const PlaybackStream&)>& wentOn);
    void prepare(CaptureStream& stream, const Part& part, Readiness& readiness);
    [[nodiscard]] Need dataNeed(const PlaybackStream& stream, std::size_t needed);
    [[nodiscard]] std::string tailKey(const PlaybackStream& stream);
    [[nodiscard]] bool isOtherAudible(const Seen& seen) const;
    void noteChange(Seen& seen, std::uint32_t starts, bool isActive, bool isOver,
                    std::vector<Event>& events);
    [[nodiscard]] bool isEarly(Seen& seen, bool isActive, const Agenda& agenda,
                               std::uint64_t frame);

    const StreamRegistry& mStreams;
    const CaptureRegistry& mCaptures;
    const TimeOptions& mOptions;
    std::set<std::uint32_t> mExcused;     // handles
    std::map<std::uint32_t, Seen> mSeen;  // by the client's handle
};

}  // namespace cabinaudio::server
