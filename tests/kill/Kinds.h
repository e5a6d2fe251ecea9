// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/kinds/SettingKinds.h"
#include "tests/support/kinds/StreamKinds.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Steps of every client; with the last one, all messages have been sent.
constexpr int STEPS = 5;

/// A client of any kind in a conversation with a server: its steps one after the other, each with
/// requests or without.
class AnyClient {
public:
    virtual ~AnyClient() = default;
    /// The first step, 0, makes the object. @return the status of this step, 0 or more for good
    virtual int step(int number) = 0;
    /// An operation that a client without its server refuses.
    virtual int operate() = 0;
    /// Whether no request is under way that a notification of the server has caused, once the
    /// client was started.
    virtual bool isSettled() = 0;
};

class StreamClient : public AnyClient {
public:
    explicit StreamClient(const StreamKind& kind) : mKind(kind) {}

    int step(int number) override {
        switch (number) {
            case 0:
                mStream = mKind.create();
                return 0;
            case 1:
                return mStream->initCheck();
            case 2:
                return mStream->start();
            case 3:
                // Without waiting for data, which no server of these tests moves.
                return mStream->move(mData.data(), 64, false);
            default:
                return mStream->stop();
        }
    }
    int operate() override { return mStream->start(); }
    bool isSettled() override { return mStream->getTotalBufferSize() > 0; }

private:
    const StreamKind& mKind;
    std::unique_ptr<AnyStream> mStream;
    std::vector<unsigned char> mData = std::vector<unsigned char>(RING_SIZE);
};

class SettingClient : public AnyClient {
public:
    explicit SettingClient(const SettingKind& kind) : mKind(kind) {}

    int step(int number) override {
        if (number == 0) mSetting = mKind.create();
        return number == 1 || number == 2 ? mSetting->ask() : 0;
    }
    int operate() override { return mSetting->ask(); }
    bool isSettled() override { return true; }

private:
    const SettingKind& mKind;
    std::unique_ptr<AnySetting> mSetting;
};

struct ClientKind {
    std::size_t number;
    std::string name;
    bool isStream;
    int messages;  // that each of its servers gets, the registration included
    std::function<std::unique_ptr<AnyClient>()> begin;

    friend void PrintTo(const ClientKind& kind, std::ostream* out) { *out << kind.name; }
};

inline std::vector<ClientKind> clientKinds() {
    std::vector<ClientKind> all;
    for (const StreamKind& kind : streamKinds())
        // Registration, creation, start, stop; a check of the stream or the place of its ring.
        all.push_back({all.size(), kind.name, true, 5,
                       [&kind] { return std::make_unique<StreamClient>(kind); }});
    for (const SettingKind& kind : settingKinds())
        all.push_back({all.size(), kind.name, false, 3,
                       [&kind] { return std::make_unique<SettingClient>(kind); }});
    return all;
}

}  // namespace cabinaudio::test
