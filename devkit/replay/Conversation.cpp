// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Conversation.h"

#include "devkit/replay/Error.h"
#include "devkit/replay/Message.h"
#include "devkit/replay/Title.h"
#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/Error.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace cabinaudio::replay {

namespace {

using trace::Kind;
using trace::Record;

/// Builds a conversation from the records of a capture.
class Builder {
public:
    explicit Builder(const std::string& file) { mConversation.file = file; }

    void add(const Record& record) {
        ++mNumber;
        if (mNumber == 1) mStart = record.timeNs;
        if (record.kind == Kind::Lost)
            lost(record);
        else
            addTo(connectionOf(record), record);
    }

    [[nodiscard]] Conversation finish() {
        if (mConversation.steps.empty()) fail("has no conversation");
        chooseSound();
        orderSound();
        return std::move(mConversation);
    }

private:
    /// Amounts of sound by the end of the ring that a summary comes from.
    struct Amounts {
        std::vector<std::size_t> writes, reads;  // steps
    };

    [[noreturn]] void fail(const std::string& why) const {
        throw Error(Error::Cause::Capture, "'" + mConversation.file + "' " + why);
    }

    void warn(const std::string& text) {
        mConversation.warnings.push_back("record " + std::to_string(mNumber) + ": " + text);
    }

    void lost(const Record& record) {
        const auto count = recordAt<trace::LostRecords>(record.bytes, 0).count;
        warn(std::to_string(count) + " records were lost while this was recorded");
    }

    std::size_t connectionOf(const Record& record) {
        const auto [found, isNew] =
            mIndices.try_emplace(record.connection, mConversation.connections.size());
        if (isNew) {
            RecordedConnection connection;
            connection.number = record.connection;
            mConversation.connections.push_back(connection);
            mAmounts.emplace_back();
            mStops.emplace_back();
            if (record.kind != Kind::Connected) checkBegin(record);
        }
        return found->second;
    }

    /// Without its registration nothing can be asked on a connection.
    void checkBegin(const Record& record) const {
        if (record.kind == Kind::ToServer && isRegistration(record.bytes)) return;
        fail("begins in the middle of connection " + std::to_string(record.connection) +
             " (record " + std::to_string(mNumber) +
             "): record from the beginning, with the server's --trace-to or cabinaudio-run "
             "--trace");
    }

    void addTo(std::size_t index, const Record& record) {
        Step step;
        step.record = mNumber;
        step.timeNs = record.timeNs > mStart ? record.timeNs - mStart : 0;
        step.connection = index;
        switch (record.kind) {
            case Kind::Connected:
                keep(std::move(step), Step::Kind::Connected, {});
                break;
            case Kind::ToServer:
                addRequest(std::move(step), record);
                break;
            case Kind::ToClient:
                addAnswer(std::move(step), record);
                break;
            case Kind::Disconnected:
                keep(std::move(step), Step::Kind::Disconnected, {});
                break;
            case Kind::Ring:
                addAmount(std::move(step), recordAt<trace::RingSummary>(record.bytes, 0));
                break;
            case Kind::Sound:
                addSound(std::move(step), record.bytes);
                break;
            case Kind::Lost:
                break;
        }
    }

    std::size_t keep(Step step, Step::Kind kind, Bytes bytes) {
        step.kind = kind;
        step.bytes = std::move(bytes);
        mPlaces.push_back(nextPlace(step, kind));
        const std::size_t index = mConversation.steps.size();
        mConversation.connections[step.connection].steps.push_back(index);
        mConversation.steps.push_back(std::move(step));
        return index;
    }

    void addRequest(Step step, const Record& record) {
        RecordedConnection& connection = mConversation.connections[step.connection];
        const Registered registered{connection.type, connection.handle};
        step.fault = faultOf(record.bytes, connection.isRegistered ? &registered : nullptr);
        if (!step.fault.empty()) warn(connection.title() + " sends " + step.fault);
        if (!connection.isRegistered && step.fault.empty()) {
            const audio_param header = headerOf(record.bytes);
            connection.isRegistered = true;
            connection.type = header.type;
            connection.name = header.name;
        }
        keep(std::move(step), Step::Kind::Request, record.bytes);
    }

    void addAnswer(Step step, const Record& record) {
        RecordedConnection& connection = mConversation.connections[step.connection];
        const SocketFrameHeader frame = frameOf(record.bytes);
        const bool isNotification = frame.headerId == HEADER_NOTIFY;
        if (record.bytes.size() < sizeof frame || frame.magic != FRAME_MAGIC)
            step.fault = "no frame";
        if (!isNotification && connection.isRegistered && connection.handle == 0)
            connection.handle =
                recordAt<wire::RegistrationReply>(record.bytes, sizeof frame).handle;
        keep(std::move(step), isNotification ? Step::Kind::Notification : Step::Kind::Reply,
             record.bytes);
    }

    void addAmount(Step step, const trace::RingSummary& summary) {
        const auto event = static_cast<trace::RingEvent>(summary.event);
        const bool isWrite = event == trace::RingEvent::Write;
        if ((!isWrite && event != trace::RingEvent::Read) || summary.bytes == 0) return;
        step.sound = static_cast<std::size_t>(summary.bytes);
        Amounts& amounts = mAmounts[step.connection];
        const std::size_t index = keep(std::move(step), Step::Kind::Sound, {});
        (isWrite ? amounts.writes : amounts.reads).push_back(index);
    }

    void addSound(Step step, const Bytes& bytes) {
        if (bytes.size() <= sizeof(trace::SoundHeader)) return;
        mConversation.connections[step.connection].hasSound = true;
        step.sound = bytes.size() - sizeof(trace::SoundHeader);
        keep(std::move(step), Step::Kind::Sound,
             Bytes(bytes.begin() + sizeof(trace::SoundHeader), bytes.end()));
    }

    /// The sound itself tells its amount; otherwise one end of the ring does. A recording of both
    /// ends would count everything twice.
    void chooseSound() {
        for (std::size_t i = 0; i < mAmounts.size(); ++i) {
            const Amounts& amounts = mAmounts[i];
            const bool hasSound = mConversation.connections[i].hasSound;
            if (hasSound) forget(amounts.writes);
            if (hasSound || !amounts.writes.empty()) forget(amounts.reads);
        }
    }

    /// A record of sound may come later than the sound: a stop before it came after that sound.
    void orderSound() {
        std::vector<std::size_t> order(mConversation.steps.size());
        std::iota(order.begin(), order.end(), 0);
        // Sound goes before the step whose place it takes.
        std::ranges::stable_sort(order, {}, [&](std::size_t step) {
            return std::pair(mPlaces[step], mPlaces[step] == step);
        });
        for (std::size_t step = 0; step < mPlaces.size(); ++step)
            mConversation.steps[step].timeNs = mConversation.steps[mPlaces[step]].timeNs;
        arrange(order);
    }

    /// Of a step of this kind that is added now: that of a stop without a start since, for sound.
    [[nodiscard]] std::size_t nextPlace(const Step& step, Step::Kind kind) {
        const std::size_t here = mConversation.steps.size();
        const std::uint32_t type = mConversation.connections[step.connection].type;
        std::optional<std::size_t>& stop = mStops[step.connection];
        if (kind == Step::Kind::Sound) return stop.value_or(here);
        if (kind != Step::Kind::Request) return here;
        const StreamAction action = actionOf(type, functionOf(step.bytes).value_or(UINT32_MAX));
        if (action == StreamAction::Start) stop.reset();
        if (action == StreamAction::Stop && !stop) stop = here;
        return here;
    }

    void arrange(const std::vector<std::size_t>& order) {
        std::vector<Step> steps;
        for (RecordedConnection& connection : mConversation.connections)
            connection.steps.clear();
        for (const std::size_t index : order) {
            mConversation.connections[mConversation.steps[index].connection].steps.push_back(
                steps.size());
            steps.push_back(std::move(mConversation.steps[index]));
        }
        mConversation.steps = std::move(steps);
    }

    void forget(const std::vector<std::size_t>& steps) {
        for (const std::size_t step : steps)
            mConversation.steps[step].sound = 0;
    }

    Conversation mConversation;
    std::vector<Amounts> mAmounts;                   // by connection
    std::vector<std::optional<std::size_t>> mStops;  // by connection: step of a stop
    std::vector<std::size_t> mPlaces;                // by step: where it belongs
    std::map<std::uint32_t, std::size_t> mIndices;   // by the connection's number
    std::size_t mNumber = 0;
    std::uint64_t mStart = 0;
};

}  // namespace

std::string RecordedConnection::title() const {
    const std::string place = "connection " + std::to_string(number);
    return isRegistered ? place + " (" + titleOf(type, name) + ")" : place;
}

bool RecordedConnection::isPlayback() const {
    return isRegistered && isPlaybackType(type);
}

bool RecordedConnection::isCapture() const {
    return isRegistered && isCaptureType(type);
}

Conversation readConversation(const std::string& file) {
    Builder builder(file);
    try {
        trace::CaptureReader reader(file);
        while (const std::optional<Record> record = reader.next())
            builder.add(*record);
    } catch (const trace::Error& error) {
        throw Error(Error::Cause::Capture, error.what());
    }
    return builder.finish();
}

}  // namespace cabinaudio::replay
