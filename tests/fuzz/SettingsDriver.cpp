// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/SettingsDriver.h"

#include "tests/fuzz/Operations.h"

#include <optional>

namespace cabinaudio::fuzz {

namespace {

/// One client of a class and its peer.
template <typename Client>
class Connection {
public:
    explicit Connection(const Listener& listener)
        : mListener(listener), mOperations(operationsOf<Client>()), mAnswers(mOperations.size()) {
        renew();
    }
    ~Connection() { mClient.reset(); }  // before its peer, which waits for that
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] std::size_t size() const { return mOperations.size(); }
    [[nodiscard]] const Operation<Client>& operation(std::size_t index) const {
        return mOperations[index];
    }
    [[nodiscard]] std::uint64_t answers(std::size_t index) const { return mAnswers[index]; }

    [[nodiscard]] const std::set<Function>& functions() const { return mFunctions; }

    void perform(std::size_t index, Input& input) {
        const Operation<Client>& operation = mOperations[index];
        mPeer->prepare(Script(input), operation.requests != Requests::Several);
        operation.invoke(*mClient, input);
        if (mPeer->answered() != 0) ++mAnswers[index];
        for (const Function& function : mPeer->functions())
            mFunctions.insert(function);
        if (mPeer->isClosing()) renew();
    }

private:
    void renew() {
        mClient.reset();
        mPeer.reset();
        mPeer.emplace(mListener);
        mClient.emplace();
    }

    const Listener& mListener;
    const std::vector<Operation<Client>>& mOperations;
    std::vector<std::uint64_t> mAnswers;
    std::set<Function> mFunctions;
    std::optional<Peer> mPeer;
    std::optional<Client> mClient;
};

}  // namespace

struct SettingsDriver::Connections {
    Listener listener;
    Connection<ClientVolumeSetting> volume{listener};
    Connection<ClientSourceSetting> source{listener};
    Connection<ClientAppSetting> app{listener};
    Connection<ClientMixerSetting> mixer{listener};
    Connection<ClientAudioRecordControl> record{listener};

    [[nodiscard]] std::size_t size() const {
        return volume.size() + source.size() + app.size() + mixer.size() + record.size();
    }

    /// Hands the connection that an operation belongs to, and its place there, to `use`.
    template <typename Use>
    void at(std::size_t index, Use use) {
        const auto isIn = [&index](const auto& connection) {
            if (index < connection.size()) return true;
            index -= connection.size();
            return false;
        };
        if (isIn(volume)) return use(volume, index);
        if (isIn(source)) return use(source, index);
        if (isIn(app)) return use(app, index);
        if (isIn(mixer)) return use(mixer, index);
        use(record, index);
    }
};

SettingsDriver::SettingsDriver() : mConnections(std::make_unique<Connections>()) {}

SettingsDriver::~SettingsDriver() = default;

void SettingsDriver::run(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    for (int i = 0; i < OPERATIONS_MAX && !input.empty(); ++i)
        mConnections->at(
            input.byte() % mConnections->size(),
            [&input](auto& connection, std::size_t place) { connection.perform(place, input); });
}

std::vector<std::uint64_t> SettingsDriver::answers() const {
    std::vector<std::uint64_t> answers;
    for (std::size_t i = 0; i < mConnections->size(); ++i)
        mConnections->at(i, [&answers](const auto& connection, std::size_t place) {
            answers.push_back(connection.answers(place));
        });
    return answers;
}

std::set<Function> SettingsDriver::functions() const {
    std::set<Function> all;
    for (std::size_t i = 0; i < mConnections->size(); ++i)
        mConnections->at(i, [&all](const auto& connection, std::size_t) {
            all.insert(connection.functions().begin(), connection.functions().end());
        });
    return all;
}

const char* SettingsDriver::nameOf(std::size_t operation) const {
    const char* name = nullptr;
    mConnections->at(operation, [&name](const auto& connection, std::size_t place) {
        name = connection.operation(place).name;
    });
    return name;
}

bool SettingsDriver::hasEffect(std::size_t operation) const {
    bool hasEffect = false;
    mConnections->at(operation, [&hasEffect](const auto& connection, std::size_t place) {
        hasEffect = connection.operation(place).requests != Requests::None;
    });
    return hasEffect;
}

}  // namespace cabinaudio::fuzz
